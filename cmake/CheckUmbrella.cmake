# SPDX-License-Identifier: MIT
# cmake -DROOT=<source dir> -P CheckUmbrella.cmake
# Fails unless qvmath/qvmath.h includes every installed public header of the library.
file(GLOB_RECURSE headers RELATIVE ${ROOT} ${ROOT}/qvmath/*.h)
file(READ ${ROOT}/qvmath/qvmath.h umbrella)
set(missing "")
foreach(h ${headers})
  if(h MATCHES "_impl\\.h$" OR h MATCHES "/detail/" OR h STREQUAL "qvmath/qvmath.h")
    continue()
  endif()
  string(FIND "${umbrella}" "#include <${h}>" pos)
  if(pos EQUAL -1)
    list(APPEND missing ${h})
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "qvmath/qvmath.h does not include: ${missing}")
endif()
