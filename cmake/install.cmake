# What `cmake --install` puts where. The program finds the plug-in in ../lib/cadencora beside it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The host interface for people who write plug-ins: headers without sources.
set(host_interface channel_info dir_info envelope_funcs file_io_funcs interface_info item_info
    layout_generic message_funcs module panel_funcs scene_info types)
list(TRANSFORM host_interface PREPEND ${PROJECT_SOURCE_DIR}/plugin/host/)
list(TRANSFORM host_interface APPEND .h)
add_library(host_interface INTERFACE)
set_target_properties(host_interface PROPERTIES EXPORT_NAME host)
target_compile_features(host_interface INTERFACE cxx_std_20)
target_include_directories(host_interface INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include/cadencora>)

# Of two packages: the desktop program is one of its own, so that servers need no windows.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME cadencora)
install(TARGETS cadencora_program RUNTIME DESTINATION bin)
install(TARGETS plugin_module LIBRARY DESTINATION lib/cadencora)

install(FILES ${host_interface} DESTINATION include/cadencora/plugin/host)
install(TARGETS host_interface EXPORT Cadencora)
install(EXPORT Cadencora NAMESPACE Cadencora:: FILE CadencoraConfig.cmake
    DESTINATION lib/cmake/Cadencora)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CadencoraConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CadencoraConfigVersion.cmake DESTINATION lib/cmake/Cadencora)

# The manual's own examples are beside its pages, as in the source tree.
install(DIRECTORY docs/ DESTINATION share/doc/cadencora/manual
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg" PATTERN "*.stage")
install(FILES examples/walk.bvh examples/figure.glb examples/room.stage
    DESTINATION share/cadencora/examples)
install(DIRECTORY examples/plugin examples/slurm DESTINATION share/cadencora/examples
    USE_SOURCE_PERMISSIONS)

# Man pages and completions, from what the programs say of themselves.
set(share ${PROJECT_BINARY_DIR}/share)
file(MAKE_DIRECTORY ${share})
find_program(HELP2MAN help2man)
set(share_files "")
function(cadencora_man_page name target about)
    if(NOT HELP2MAN OR CADENCORA_SANITIZE)
        return()
    endif()
    set(page ${share}/${name}.1)
    set(program $<TARGET_FILE:${target}>)
    if(name MATCHES "^cadencora-(info|panels|run|convert|plot)$")
        set(program "$<TARGET_FILE:${target}> ${CMAKE_MATCH_1}")
    endif()
    string(REPLACE "cadencora-" "cadencora " spoken "${name}") # as it names itself in the page
    add_custom_command(OUTPUT ${page}.gz DEPENDS ${target}
        COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen ${HELP2MAN} --no-info --section=1
                "--name=${about}" "--version-string=${PROJECT_VERSION}" "--source=Cadencora"
                "--manual=Cadencora" --output=${page} ${program}
        COMMAND sed -i "s/^${spoken} .. /${name} \\\\- /" ${page}
        COMMAND gzip -9nf ${page}
        VERBATIM)
    set(share_files ${share_files} ${page}.gz PARENT_SCOPE)
endfunction()
cadencora_man_page(cadencora cadencora_program "keyframe toolbox for files of 3D animation")
cadencora_man_page(cadencora-info cadencora_program "say what an animation file holds")
cadencora_man_page(cadencora-panels cadencora_program "list the buttons and dialogs of the toolbox")
cadencora_man_page(cadencora-run cadencora_program "press the toolbox's buttons on animation files")
cadencora_man_page(cadencora-convert cadencora_program "write an animation file in another format")
cadencora_man_page(cadencora-plot cadencora_program "draw curves of an animation file")
set(man_pages ${share_files})
if(NOT CADENCORA_SANITIZE)
    foreach(shell bash zsh fish)
        add_custom_command(OUTPUT ${share}/completions.${shell} DEPENDS cadencora_program
            COMMAND cadencora_program completions ${shell} > ${share}/completions.${shell})
        list(APPEND share_files ${share}/completions.${shell})
    endforeach()
    install(FILES ${share}/completions.bash RENAME cadencora
        DESTINATION share/bash-completion/completions)
    install(FILES ${share}/completions.zsh RENAME _cadencora
        DESTINATION share/zsh/vendor-completions)
    install(FILES ${share}/completions.fish RENAME cadencora.fish
        DESTINATION share/fish/vendor_completions.d)
endif()
install(FILES ${man_pages} DESTINATION share/man/man1)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME desktop)
if(CADENCORA_DESKTOP)
    set(before ${share_files})
    cadencora_man_page(cadencora-desktop cadencora_desktop_program
        "keyframe toolbox for 3D animators, with windows")
    set(desktop_pages ${share_files})
    list(REMOVE_ITEM desktop_pages ${before})
    install(FILES ${desktop_pages} DESTINATION share/man/man1)
    install(TARGETS cadencora_desktop_program RUNTIME DESTINATION bin)
    install(FILES packaging/cadencora-desktop.desktop DESTINATION share/applications)
    install(FILES packaging/cadencora.svg DESTINATION share/icons/hicolor/scalable/apps)
    install(FILES packaging/cadencora.xml DESTINATION share/mime/packages)
    install(FILES packaging/cadencora.metainfo.xml DESTINATION share/metainfo
        RENAME io.cadencora.cadencora_desktop.metainfo.xml)
endif()
add_custom_target(share ALL DEPENDS ${share_files})

include(cmake/package.cmake)
