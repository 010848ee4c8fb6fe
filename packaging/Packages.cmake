# The Debian packages, one for each component, by CPack: the preset "package" (CONTRIBUTING.md) builds them.

# One version, in the three places that people and package managers read it from.
file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog newest_change LIMIT_COUNT 1)
file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/desktop/com.quorvel.Quorvel.metainfo.xml newest_release REGEX "<release " LIMIT_COUNT 1)
if(NOT newest_change MATCHES "\\(${PROJECT_VERSION}\\)" OR NOT newest_release MATCHES "version=\"${PROJECT_VERSION}\"")
    message(FATAL_ERROR "The version is ${PROJECT_VERSION}: debian/changelog and the AppStream metainfo must begin with it.")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             debian/changelog desktop/com.quorvel.Quorvel.metainfo.xml)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL quorvel quorvel-backend)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
# An open umask would make folders that a group may write to.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/cpack.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE quorvel)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Quorvel authors <authors@quorvel.example>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_QUORVEL_PACKAGE_NAME quorvel)
set(CPACK_DEBIAN_QUORVEL_PACKAGE_SECTION sound)
set(CPACK_COMPONENT_QUORVEL_DESCRIPTION
"live transcript and suggested answers for meetings
Quorvel captures the sound of one application or display that you choose,
has it transcribed by a backend, and shows the running transcript and
suggested answers in its window, and the current suggestion in a small
overlay above everything else.
.
The sound is never written to disk, and the transcript is gone when the
program ends. It is to be used with the consent of everybody in the meeting.")
# What the program links is found by itself; these are the QML modules that it imports, and PipeWire's settings and
# modules for clients.
string(JOIN ", " CPACK_DEBIAN_QUORVEL_PACKAGE_DEPENDS
    pipewire-bin
    qml6-module-qt-labs-folderlistmodel
    qml6-module-qtqml
    qml6-module-qtqml-models
    qml6-module-qtqml-workerscript
    qml6-module-qtquick
    qml6-module-qtquick-controls
    qml6-module-qtquick-dialogs
    qml6-module-qtquick-layouts
    qml6-module-qtquick-templates)
# What may as well run elsewhere or be missing on a desktop: the program says so, and the rest of it works.
set(recommended
    "default-dbus-session-bus | dbus-session-bus"
    "gnome-keyring | libkf5wallet-bin | keepassxc"
    "pipewire-audio | pipewire-pulse"
    xdg-desktop-portal
    xdg-utils)
if(QUORVEL_BACKEND_ORIGIN MATCHES "^http:")
    list(APPEND recommended quorvel-backend)
else()
    set(CPACK_DEBIAN_QUORVEL_PACKAGE_SUGGESTS quorvel-backend)
endif()
string(JOIN ", " CPACK_DEBIAN_QUORVEL_PACKAGE_RECOMMENDS ${recommended})

set(CPACK_DEBIAN_QUORVEL-BACKEND_PACKAGE_NAME quorvel-backend)
set(CPACK_DEBIAN_QUORVEL-BACKEND_PACKAGE_SECTION net)
set(CPACK_COMPONENT_QUORVEL-BACKEND_DESCRIPTION
"offline backend for Quorvel on this machine
quorvel-backend does everything that the meeting assistant Quorvel expects of
its backend, without a network: sign-in, text and key terms from a resume,
recognition of US English speech, and suggested answers.
.
It is made for one person on one machine, and comes with a socket and a
service for systemd's user manager, which start it when it is needed.")
set(CPACK_DEBIAN_QUORVEL-BACKEND_PACKAGE_DEPENDS "pocketsphinx-en-us, poppler-utils")
set(CPACK_DEBIAN_QUORVEL-BACKEND_PACKAGE_SUGGESTS quorvel)

include(CPack)
