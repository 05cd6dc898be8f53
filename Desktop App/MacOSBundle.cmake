# The application bundle on macOS. Everything is linked into the one executable: loading the toolkit
# later, as elsewhere, is for where it is measured.
add_executable(ardentra-registration MACOSX_BUNDLE main.cpp)
target_link_libraries(ardentra-registration PRIVATE
  ProjectWarnings DesktopApp "$<LINK_LIBRARY:WHOLE_ARCHIVE,DesktopAppWindow>")
set_target_properties(ardentra-registration PROPERTIES
  OUTPUT_NAME "Ardentra Registration"
  MACOSX_BUNDLE_INFO_PLIST "${PROJECT_BINARY_DIR}/macOS/Info.plist")

# Resources/macOS makes the bundle's other contents in a folder laid out like the bundle's own.
add_dependencies(ardentra-registration macos-resources)
add_custom_command(TARGET ardentra-registration POST_BUILD
  COMMAND "${CMAKE_COMMAND}" -E copy_directory "${PROJECT_BINARY_DIR}/macOS/Resources"
          "$<TARGET_BUNDLE_CONTENT_DIR:ardentra-registration>/Resources"
  VERBATIM)

install(TARGETS ardentra-registration BUNDLE DESTINATION .)
