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

# What CPack makes of an installation.
if(CATALIST_HAS_DESKTOP_ENTRIES)
    set(CATALIST_PACKAGES TGZ)
    find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
    if(DPKG_SHLIBDEPS)
        list(PREPEND CATALIST_PACKAGES DEB)
    endif()
else()
    set(CATALIST_PACKAGES ZIP)
endif()
