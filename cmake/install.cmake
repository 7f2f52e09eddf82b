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

install(TARGETS cadencora_program RUNTIME DESTINATION bin)
if(CADENCORA_DESKTOP)
    install(TARGETS cadencora_desktop_program RUNTIME DESTINATION bin)
endif()
install(TARGETS plugin_module LIBRARY DESTINATION lib/cadencora)

install(FILES ${host_interface} DESTINATION include/cadencora/plugin/host COMPONENT development)
install(TARGETS host_interface EXPORT Cadencora)
install(EXPORT Cadencora NAMESPACE Cadencora:: FILE CadencoraConfig.cmake
    DESTINATION lib/cmake/Cadencora COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CadencoraConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CadencoraConfigVersion.cmake
    DESTINATION lib/cmake/Cadencora COMPONENT development)
