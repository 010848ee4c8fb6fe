# The address of the service backend is fixed at build time. A wrong one must stop the build, not the user.

set(QUORVEL_BACKEND_ORIGIN "http://127.0.0.1:8787" CACHE STRING
    "Origin of the service backend: https://host[:port], or http:// for a loopback host")

if(NOT QUORVEL_BACKEND_ORIGIN MATCHES "^(https|http)://(\\[[0-9A-Fa-f:]+\\]|[A-Za-z0-9]([A-Za-z0-9.-]*[A-Za-z0-9])?)(:([0-9]+))?$")
    message(FATAL_ERROR
        "QUORVEL_BACKEND_ORIGIN is \"${QUORVEL_BACKEND_ORIGIN}\". It must be an origin such as "
        "https://backend.example or http://127.0.0.1:8787: a scheme, a host and an optional port, "
        "without user name, path, query or trailing slash.")
endif()
set(_quorvel_origin_scheme ${CMAKE_MATCH_1})
set(_quorvel_origin_host ${CMAKE_MATCH_2})
set(_quorvel_origin_port "${CMAKE_MATCH_5}")

if(NOT _quorvel_origin_port STREQUAL "" AND (_quorvel_origin_port GREATER 65535 OR _quorvel_origin_port LESS 1))
    message(FATAL_ERROR "QUORVEL_BACKEND_ORIGIN names port ${_quorvel_origin_port}; a port lies between 1 and 65535.")
endif()
if(_quorvel_origin_scheme STREQUAL "http"
   AND NOT _quorvel_origin_host MATCHES "^(localhost|127\\.[0-9]+\\.[0-9]+\\.[0-9]+|\\[::1\\])$")
    message(FATAL_ERROR
        "QUORVEL_BACKEND_ORIGIN is \"${QUORVEL_BACKEND_ORIGIN}\": plain http would send the sign-in and the meeting's "
        "sound in clear. Use https, or a loopback host.")
endif()
