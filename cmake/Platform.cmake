# Everything that differs from one platform to another.

# Named after the program, not after the project.
if(NOT CMAKE_INSTALL_DOCDIR)
    set(CMAKE_INSTALL_DOCDIR share/doc/catalist)
endif()
include(GNUInstallDirs)

if(UNIX AND NOT APPLE)
    set(CATALIST_HAS_DESKTOP_ENTRIES ON)
endif()

if(MSVC)
    set(CATALIST_WARNINGS /W4)
else()
    set(CATALIST_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
endif()
