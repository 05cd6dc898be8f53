# The platform on macOS; included by the file above this folder, and relative to it.
include(macOS/Sources.cmake)
list(TRANSFORM VT_MACOS_SOURCES PREPEND macOS/)
list(TRANSFORM VT_MACOS_WINDOW_SOURCES PREPEND macOS/)

add_library(Platform STATIC ${VT_SHARED_SOURCES} ${VT_MACOS_SOURCES})
target_include_directories(Platform PUBLIC "${PROJECT_SOURCE_DIR}")
target_link_libraries(Platform
  PUBLIC Threads::Threads "-framework CFNetwork" "-framework CoreFoundation"
         "-framework Foundation" "-framework Security"
  PRIVATE ProjectWarnings CURL::libcurl PkgConfig::URIPARSER nlohmann_json::nlohmann_json)

# Apart because it is the only half that needs Qt.
add_library(PlatformApplication STATIC ${VT_SHARED_WINDOW_SOURCES} ${VT_MACOS_WINDOW_SOURCES})
set_target_properties(PlatformApplication PROPERTIES AUTOMOC ON)
target_link_libraries(PlatformApplication
  PUBLIC Platform Qt6::Widgets "-framework CoreServices"
  PRIVATE ProjectWarnings)
