# Everything that differs from one platform to another.

# Named after the program, not after the project.
if(NOT CMAKE_INSTALL_DOCDIR)
    set(CMAKE_INSTALL_DOCDIR share/doc/catalist)
endif()
include(GNUInstallDirs)

if(UNIX AND NOT APPLE)
    set(CATALIST_HAS_DESKTOP_ENTRIES ON)
    set(CATALIST_HAS_SYSTEM_LIBRARIES ON)
else()
    set(CATALIST_HAS_DESKTOP_ENTRIES OFF)
    set(CATALIST_HAS_SYSTEM_LIBRARIES OFF)
endif()

if(MSVC)
    set(CATALIST_COMPILE_OPTIONS /W4)
else()
    set(CATALIST_COMPILE_OPTIONS -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    # What is released is the same wherever it was built. A debugger needs the whole paths.
    set(release_options "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
    # And it is hardened as Debian hardens its own packages, and with more of that kind where the compiler has it.
    list(APPEND release_options -fstack-protector-strong -Wformat -Werror=format-security)
    include(CheckCXXCompilerFlag)
    foreach(option IN ITEMS -fstack-clash-protection -fcf-protection)
        string(MAKE_C_IDENTIFIER "CATALIST_HAS${option}" has_option)
        check_cxx_compiler_flag(${option} ${has_option})
        if(${has_option})
            list(APPEND release_options ${option})
        endif()
    endforeach()
    # Some compilers and packagers set it by themselves, perhaps to more.
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_FLAGS -O2)
    check_cxx_source_compiles("#ifdef _FORTIFY_SOURCE\n#error\n#endif\nint main() {}" CATALIST_SETS_FORTIFY_SOURCE)
    unset(CMAKE_REQUIRED_FLAGS)
    if(CATALIST_SETS_FORTIFY_SOURCE)
        list(APPEND release_options -D_FORTIFY_SOURCE=2)
    endif()
    list(TRANSFORM release_options REPLACE "(.+)" "$<$<CONFIG:Release>:\\1>")
    list(APPEND CATALIST_COMPILE_OPTIONS ${release_options})
endif()
# clazy looks at what clang compiles; .clazy says for what.
option(CATALIST_CLAZY "Load clazy into the compiler, which has to be clang" OFF)
if(CATALIST_CLAZY)
    file(STRINGS "${PROJECT_SOURCE_DIR}/.clazy" checks REGEX "^[^#]")
    list(JOIN checks "," checks)
    set(CATALIST_CLAZY_OPTIONS "SHELL:-Xclang -load -Xclang ClazyPlugin.so -Xclang -add-plugin -Xclang clazy"
        "SHELL:-Xclang -plugin-arg-clazy -Xclang ${checks}")
endif()
if(CATALIST_HAS_DESKTOP_ENTRIES)
    set(CATALIST_LINK_OPTIONS LINKER:-z,relro,-z,now)
endif()

# catalist_program(TARGET): what the system wants to find in a program: its version and its icon.
function(catalist_program target)
    if(WIN32)
        configure_file("${PROJECT_SOURCE_DIR}/packaging/windows/catalist.rc.in" "${target}.rc" @ONLY)
        target_sources(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    endif()
endfunction()

# catalist_window(TARGET): the same for a program that shows a window, and needs no console.
function(catalist_window target)
    catalist_program(${target})
    set_target_properties(${target} PROPERTIES WIN32_EXECUTABLE ON MACOSX_BUNDLE ON)
    if(APPLE)
        set(icon "${PROJECT_SOURCE_DIR}/packaging/macos/catalist.icns")
        configure_file("${PROJECT_SOURCE_DIR}/packaging/macos/Info.plist.in" Info.plist @ONLY)
        target_sources(${target} PRIVATE "${icon}")
        set_source_files_properties("${icon}" PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
        set_target_properties(${target} PROPERTIES
            MACOSX_BUNDLE_INFO_PLIST "${CMAKE_CURRENT_BINARY_DIR}/Info.plist")
    endif()
endfunction()

# catalist_install_programs(WINDOW COMMAND): where the system looks for them; each is the component that is called like
# it. Where the system does not have Qt's libraries, they come along.
function(catalist_install_programs window command)
    install(TARGETS ${window} BUNDLE DESTINATION .)
    if(APPLE)
        # The command finds the libraries in the bundle.
        set_target_properties(${command} PROPERTIES INSTALL_RPATH "@executable_path/../Frameworks")
        install(TARGETS ${command} DESTINATION "${window}.app/Contents/MacOS" COMPONENT ${command})
    else()
        install(TARGETS ${command} COMPONENT ${command})
    endif()

    if(NOT CATALIST_HAS_SYSTEM_LIBRARIES)
        set(result OUTPUT_SCRIPT)
        if(Qt6_VERSION VERSION_LESS 6.5)
            set(result FILENAME_VARIABLE)
        endif()
        qt_generate_deploy_app_script(TARGET ${window} ${result} script NO_UNSUPPORTED_PLATFORM_ERROR)
        install(SCRIPT "${script}")
    endif()
endfunction()

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
