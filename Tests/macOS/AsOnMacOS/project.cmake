# The toolkit looks for this framework of the system's.
if(NOT TARGET WrapOpenGL::WrapOpenGL)
  add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED)
endif()
