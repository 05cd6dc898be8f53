set(VT_SANITIZERS "" CACHE STRING "Sanitizers to build everything with, as for -fsanitize=")
if(VT_SANITIZERS)
  add_compile_options("-fsanitize=${VT_SANITIZERS}" -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${VT_SANITIZERS}")
endif()
