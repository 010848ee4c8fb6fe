# The compiler settings of every target of this project, carried by one interface library.

add_library(quorvel_compiler_settings INTERFACE)
add_library(quorvel::compiler_settings ALIAS quorvel_compiler_settings)

target_compile_features(quorvel_compiler_settings INTERFACE cxx_std_23)
target_compile_options(quorvel_compiler_settings INTERFACE
    -Wall
    -Wextra
    -Wpedantic
    -Wconversion
    -Wsign-conversion
    -Wdouble-promotion
    -Wshadow
    -Wnon-virtual-dtor
    -Woverloaded-virtual
    -Wold-style-cast
    -Wcast-align
    -Wformat=2
    -Wimplicit-fallthrough
    # Clang, which builds the fuzzers only, finds fault with GCC's own library.
    $<$<CXX_COMPILER_ID:GNU>:-Werror>
    -fstack-protector-strong
    -fvisibility=hidden)
# Both programs read what others send: what is installed keeps the C library's cheap checks, and nothing that the loader
# has written can be written again. Fortification takes an optimised build and does not go with the sanitizers.
target_link_options(quorvel_compiler_settings INTERFACE -Wl,-z,relro,-z,now)
target_compile_definitions(quorvel_compiler_settings INTERFACE
    $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>
    $<$<AND:$<NOT:$<CONFIG:Debug>>,$<STREQUAL:${QUORVEL_SANITIZERS},>>:_FORTIFY_SOURCE=2>
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_FOREACH
    QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)

# The sanitizers instrument everything that is linked, so they are directory-wide rather than a target's property.
if(QUORVEL_SANITIZERS)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QUORVEL_SANITIZERS})
endif()

# A fuzzer is led by what the code that it calls covers.
if(QUORVEL_BUILD_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
