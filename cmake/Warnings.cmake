# Every target of the project links this: strict warnings, each an error.
add_library(ProjectWarnings INTERFACE)
target_compile_options(ProjectWarnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Wcast-qual -Woverloaded-virtual -Wformat=2 -Werror)
# GCC 12 takes "text" + std::string for overlapping copies when it optimises (its bug 105329).
target_compile_options(ProjectWarnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
