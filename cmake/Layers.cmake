# quorvel_add_layer(<folder> SOURCES <file>... [USES <folder>...] [LINKS <target>...]
#                   [OPERATING_SYSTEM] [BOUND_BY_VIEWS])
#
# Adds the static library of one folder below src/ as quorvel::<folder> (a slash becomes an underscore). USES names the
# folders that it may use: they are linked, and nothing else of ours may be included, which the build checks before it
# compiles. Headers of the operating system may be included by OPERATING_SYSTEM layers only. BOUND_BY_VIEWS says that the
# screens bind to its objects, so that their QML module learns their properties.
function(quorvel_add_layer folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "OPERATING_SYSTEM;BOUND_BY_VIEWS" "" "SOURCES;USES;LINKS")
    string(REPLACE "/" "_" name ${folder})
    set(target quorvel_${name})

    add_library(${target} STATIC ${arg_SOURCES})
    add_library(quorvel::${name} ALIAS ${target})
    set_target_properties(${target} PROPERTIES AUTOMOC ON)
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} PUBLIC ${arg_LINKS} PRIVATE quorvel::compiler_settings)
    foreach(used IN LISTS arg_USES)
        string(REPLACE "/" "_" used_name ${used})
        target_link_libraries(${target} PUBLIC quorvel::${used_name})
    endforeach()

    if(arg_BOUND_BY_VIEWS)
        qt_extract_metatypes(${target})
    endif()

    set(stamp ${CMAKE_CURRENT_BINARY_DIR}/layer-check.stamp)
    set(checked ${arg_SOURCES})
    list(FILTER checked INCLUDE REGEX "\\.(h|cpp)$")
    list(TRANSFORM checked PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    add_custom_command(
        OUTPUT ${stamp}
        COMMAND ${CMAKE_COMMAND} -DFOLDER=${folder} "-DUSES=${arg_USES}" "-DFILES=${checked}"
                -DOPERATING_SYSTEM=${arg_OPERATING_SYSTEM} -DSTAMP=${stamp}
                -P ${PROJECT_SOURCE_DIR}/cmake/CheckLayer.cmake
        DEPENDS ${checked} ${PROJECT_SOURCE_DIR}/cmake/CheckLayer.cmake
        COMMENT "Checking the includes of src/${folder}"
        VERBATIM)
    add_custom_target(${target}_layer_check DEPENDS ${stamp})
    add_dependencies(${target} ${target}_layer_check)
endfunction()
