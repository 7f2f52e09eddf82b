# The two Debian packages that scripts/package makes.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cadencora)
set(CPACK_PACKAGE_VENDOR Cadencora)
set(CPACK_PACKAGE_CONTACT "The Cadencora developers <developers@cadencora.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL cadencora desktop)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
    GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_CADENCORA_PACKAGE_NAME cadencora)
set(CPACK_DEBIAN_CADENCORA_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_CADENCORA_DESCRIPTION "keyframe toolbox for files of 3D animation
Repeats, deletes, rounds, randomises, offsets, copies, saves and loads
keyframes of motion capture (BVH) and game characters (glTF) over frame
ranges, on exactly the channels and items that are meant, for one file
or folders of them.")
set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME cadencora-desktop)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS "cadencora (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION "keyframe toolbox for 3D animators, with windows
Shows motion capture (BVH) and game characters (glTF) with their meshes,
bones and curves, and what each command of the keyframe toolbox changed.")

# What Debian expects of every package.
find_program(GZIP gzip)
if(GZIP)
    add_custom_command(OUTPUT ${share}/changelog.gz
        DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog
        COMMAND ${GZIP} -9nc ${PROJECT_SOURCE_DIR}/packaging/changelog > ${share}/changelog.gz)
    add_custom_target(package_changelog ALL DEPENDS ${share}/changelog.gz)
    foreach(component cadencora desktop)
        set(folder share/doc/cadencora)
        if(component STREQUAL "desktop")
            set(folder share/doc/cadencora-desktop)
        endif()
        install(FILES ${share}/changelog.gz DESTINATION ${folder} COMPONENT ${component})
        install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION ${folder}
            COMPONENT ${component})
    endforeach()
endif()
include(CPack)
