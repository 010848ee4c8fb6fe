cmake_minimum_required(VERSION 3.25)

# Run by quorvel_add_layer for one folder: every include must be of the folder itself, of a folder that it uses, of the
# C++ standard library, of Qt or of QCoro. Only an operating-system layer may include anything else.

set(allowed ${FOLDER} ${USES})
set(faults "")

foreach(file IN LISTS FILES)
    file(STRINGS ${file} includes REGEX "^[ \t]*#[ \t]*include")
    foreach(include IN LISTS includes)
        if(include MATCHES "\"([^\"]+)\"")
            set(header ${CMAKE_MATCH_1})
            get_filename_component(header_folder ${header} DIRECTORY)
            if(header MATCHES "\\.moc$")
                continue()
            endif()
            if(NOT header_folder IN_LIST allowed)
                string(APPEND faults "\n  ${file} includes \"${header}\"; src/${FOLDER} may use: ${allowed}")
            endif()
        elseif(include MATCHES "<([^>]+)>")
            set(header ${CMAKE_MATCH_1})
            if(NOT OPERATING_SYSTEM
               AND NOT header MATCHES "^[a-z_0-9]+$"
               AND NOT header MATCHES "^Q[A-Za-z0-9]+$"
               AND NOT header STREQUAL "immintrin.h")
                string(APPEND faults "\n  ${file} includes <${header}>; only src/platform/linux may use the operating system")
            endif()
        endif()
    endforeach()
endforeach()

if(faults)
    message(FATAL_ERROR "The layers of docs/architecture.md are broken:${faults}")
endif()
file(TOUCH ${STAMP})
