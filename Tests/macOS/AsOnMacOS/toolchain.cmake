# A Debian system that says it is macOS: CMake takes the other system's ways, its compiler and its kind
# of C++ library are used, and the stand-ins' headers take the place of the system's. Nothing that is
# compiled so can be linked, and nothing is.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_OSX_SYSROOT / CACHE PATH "")
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_COMPILER_WORKS ON)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_CXX_LINK_EXECUTABLE true)
set(CMAKE_INSTALL_NAME_TOOL true)
# The oldest version to run on means nothing to a compiler of this system.
set(CMAKE_CXX_FLAGS_INIT
  "-stdlib=libc++ -Wno-unused-command-line-argument -isystem \"${CMAKE_CURRENT_LIST_DIR}/../StandIns\"")

# Where Debian keeps what Homebrew keeps elsewhere.
execute_process(COMMAND dpkg-architecture --query DEB_HOST_MULTIARCH
                OUTPUT_VARIABLE multiarch OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_LIBRARY_ARCHITECTURE "${multiarch}")
set(CMAKE_CXX_LIBRARY_ARCHITECTURE "${multiarch}")
set(CMAKE_PREFIX_PATH /usr "/usr/lib/${multiarch}")
set(CMAKE_LIBRARY_PATH "/usr/lib/${multiarch}")
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem /usr/include/${multiarch}")
foreach(package Qt6 Qt6Core Qt6CoreTools Qt6Gui Qt6GuiTools Qt6Widgets Qt6WidgetsTools GTest)
  set(${package}_DIR "/usr/lib/${multiarch}/cmake/${package}")
endforeach()
set(CMAKE_PROJECT_INCLUDE "${CMAKE_CURRENT_LIST_DIR}/project.cmake")
