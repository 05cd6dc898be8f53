# What the build needs on macOS and nowhere else.

# std::stop_token came late to this system's C++ library, and at first only when asked for.
include(CheckCXXSourceCompiles)
set(stopTokenSource "#include <stop_token>\nint main() { return std::stop_source().stop_requested(); }")
check_cxx_source_compiles("${stopTokenSource}" VT_HAS_STOP_TOKEN)
if(NOT VT_HAS_STOP_TOKEN)
  set(CMAKE_REQUIRED_FLAGS -fexperimental-library)
  check_cxx_source_compiles("${stopTokenSource}" VT_HAS_EXPERIMENTAL_STOP_TOKEN)
  unset(CMAKE_REQUIRED_FLAGS)
  if(NOT VT_HAS_EXPERIMENTAL_STOP_TOKEN)
    message(FATAL_ERROR "The C++ library has no std::stop_token: use Xcode 16 or later.")
  endif()
  add_compile_options(-fexperimental-library)
  add_link_options(-fexperimental-library)
endif()
