# Tarvolo.app on a Mac: the Objective-C++ backend over AppKit, the entry point and the bundle.
# Included from the top-level CMakeLists.txt when TARVOLO_PLATFORM is "macos"; ./build-macos
# sets the architectures (arm64;x86_64) and the deployment target before the project starts.

enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
if(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
  set(CMAKE_OSX_DEPLOYMENT_TARGET 13.0)
endif()

set(TARVOLO_MACOS_DIR ${CMAKE_CURRENT_SOURCE_DIR}/src/platform/macos)
set(TARVOLO_MACOS_FRAMEWORKS
    "-framework AppKit" "-framework Foundation" "-framework CoreFoundation" "-framework CoreGraphics"
    "-framework ApplicationServices" "-framework Carbon" "-framework QuartzCore")

# The backend sees the platform interfaces only; the entry point brings in the app.
tarvolo_layer(platform/macos USES tarvolo_platform tarvolo_platform_windows EXTERNAL ${TARVOLO_MACOS_FRAMEWORKS} EXCLUDE main.mm)
target_compile_options(tarvolo_platform_macos PUBLIC -fobjc-arc PRIVATE -Wunguarded-availability)
target_link_options(tarvolo_platform_macos INTERFACE "LINKER:-dead_strip_dylibs")

set(TARVOLO_VERSION ${PROJECT_VERSION})
if(TARVOLO_RELEASE_VERSION)
  set(TARVOLO_VERSION ${TARVOLO_RELEASE_VERSION})
endif()
# Where the app looks for new versions, and the public half of the key their archives are
# signed with; without a key the updater does not start.
set(TARVOLO_UPDATE_FEED "https://tarvolo.app/appcast.xml" CACHE STRING "The update feed's address")
set(TARVOLO_UPDATE_KEY "" CACHE STRING "The EdDSA public key of the update archives (base64)")
set(TARVOLO_INFO_PLIST ${CMAKE_CURRENT_BINARY_DIR}/Info.plist)
configure_file(${TARVOLO_MACOS_DIR}/Info.plist.in ${TARVOLO_INFO_PLIST} @ONLY)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/PkgInfo "APPL????")

# Every file of the resources folder goes into the bundle's Resources, as it is.
file(GLOB TARVOLO_RESOURCES CONFIGURE_DEPENDS ${TARVOLO_MACOS_DIR}/Resources/*)
set_source_files_properties(${TARVOLO_RESOURCES} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
add_executable(Tarvolo MACOSX_BUNDLE ${TARVOLO_MACOS_DIR}/main.mm ${TARVOLO_RESOURCES})
set_target_properties(Tarvolo PROPERTIES MACOSX_BUNDLE_INFO_PLIST ${TARVOLO_INFO_PLIST})
target_link_libraries(Tarvolo PRIVATE tarvolo_platform_macos tarvolo_app tarvolo_warnings)
# The Info.plist also goes into the executable, so a bare run of it still has an identity.
target_link_options(Tarvolo PRIVATE "LINKER:-sectcreate,__TEXT,__info_plist,${TARVOLO_INFO_PLIST}")
add_custom_command(TARGET Tarvolo POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_CURRENT_BINARY_DIR}/PkgInfo $<TARGET_BUNDLE_CONTENT_DIR:Tarvolo>/PkgInfo)

# The backend's tests: the platform contract every backend passes, and the Mac's own checks.
find_package(GTest QUIET)
if(NOT GTest_FOUND)
  message(STATUS "GoogleTest not found: tarvolo-macos-tests is not built (brew install googletest)")
  return()
endif()
file(GLOB TARVOLO_MACOS_TEST_SOURCES CONFIGURE_DEPENDS
     ${CMAKE_CURRENT_SOURCE_DIR}/tests/macos/*.mm ${CMAKE_CURRENT_SOURCE_DIR}/tests/platform/contract/*.cpp)
enable_testing()
add_executable(tarvolo-macos-tests ${TARVOLO_MACOS_TEST_SOURCES})
target_include_directories(tarvolo-macos-tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/tests)
target_link_libraries(tarvolo-macos-tests PRIVATE tarvolo_platform_macos GTest::gtest tarvolo_warnings)
# A packaged GoogleTest holds this Mac's architecture only, and the tests run only here.
set_target_properties(tarvolo-macos-tests PROPERTIES OSX_ARCHITECTURES ${CMAKE_HOST_SYSTEM_PROCESSOR})
add_test(NAME macos_backend COMMAND tarvolo-macos-tests)
