# Packs once more what CPack cannot pack the same way twice.
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
    return()
endif()

# The archive has the files in the order in which the disk has them, and their owner is whoever built them. Only GNU tar
# can do without both; elsewhere the archive stays as it is.
function(repack_archive archive)
    find_program(GNU_TAR NAMES gtar tar NO_CACHE REQUIRED)
    execute_process(COMMAND "${GNU_TAR}" --version OUTPUT_VARIABLE version ERROR_QUIET)
    if(NOT version MATCHES "GNU tar")
        return()
    endif()
    get_filename_component(folder "${CPACK_TEMPORARY_DIRECTORY}" DIRECTORY)
    get_filename_component(name "${CPACK_TEMPORARY_DIRECTORY}" NAME)
    execute_process(
        COMMAND "${GNU_TAR}" --create --format=gnu --sort=name --owner=0 --group=0 --numeric-owner
            "--mtime=@$ENV{SOURCE_DATE_EPOCH}" "--directory=${folder}" "${name}"
        COMMAND gzip -9n
        OUTPUT_FILE "${archive}"
        COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The package has the size of the folders counted in, which depends on the disk.
function(repack_debian package)
    set(folder "${CPACK_TEMPORARY_DIRECTORY}.repacked")
    file(REMOVE_RECURSE "${folder}")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)

    # In the way that Debian counts: whole KiB of each file, and one for each folder.
    set(size 0)
    file(GLOB_RECURSE entries LIST_DIRECTORIES true "${folder}/usr/*")
    foreach(entry IN LISTS entries)
        set(bytes 1)
        if(NOT IS_DIRECTORY "${entry}")
            file(SIZE "${entry}" bytes)
        endif()
        math(EXPR size "${size} + (${bytes} + 1023) / 1024")
    endforeach()
    file(READ "${folder}/DEBIAN/control" control)
    string(REGEX REPLACE "\nInstalled-Size: [0-9]+\n" "\nInstalled-Size: ${size}\n" control "${control}")
    file(WRITE "${folder}/DEBIAN/control" "${control}")

    # The rights that the umask left.
    file(CHMOD "${folder}" "${folder}/DEBIAN" PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    execute_process(
        COMMAND dpkg-deb --root-owner-group -Zgzip -z9 --build "${folder}" "${package}"
        OUTPUT_QUIET
        COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE "${folder}")
endfunction()

foreach(file IN LISTS CPACK_PACKAGE_FILES)
    if(CPACK_GENERATOR STREQUAL "TGZ")
        repack_archive("${file}")
    elseif(CPACK_GENERATOR STREQUAL "DEB")
        repack_debian("${file}")
    endif()
endforeach()
