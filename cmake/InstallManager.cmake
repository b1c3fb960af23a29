# What `cmake --install` gives of the manager library: headers under the paths that their includes
# name, the library, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

target_sources(VideoPlayer_FishEye PUBLIC
    FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${manager_headers})
# The include directory is named a second time for clients whose CMake (before 3.23) knows no file
# sets.
install(TARGETS VideoPlayer_FishEye EXPORT VideoPlayer_FishEyeTargets
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILE_SET HEADERS)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/VideoPlayer_FishEye")
install(EXPORT VideoPlayer_FishEyeTargets
    NAMESPACE VideoPlayer_FishEye:: DESTINATION "${package_dir}")
configure_package_config_file(
    "${CMAKE_CURRENT_LIST_DIR}/VideoPlayer_FishEyeConfig.cmake.in" VideoPlayer_FishEyeConfig.cmake
    INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file(
    VideoPlayer_FishEyeConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/VideoPlayer_FishEyeConfig.cmake"
    "${PROJECT_BINARY_DIR}/VideoPlayer_FishEyeConfigVersion.cmake"
    DESTINATION "${package_dir}")

# The prefix is told from where the file lies: it holds for `cmake --install --prefix` and for a
# tree that was moved.
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH pkgconfig_to_prefix "/${pkgconfig_dir}" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/VideoPlayer_FishEye.pc.in" VideoPlayer_FishEye.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/VideoPlayer_FishEye.pc" DESTINATION "${pkgconfig_dir}")
