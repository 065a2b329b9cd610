# SPDX-License-Identifier: MIT
# cmake -DLIB=<path to libqvmath.so> -DNM=<nm> -P CheckExports.cmake
# Fails unless the shared library exports the ten instantiations of each container template,
# the undecorated log-sink entry points, and none of the library's internal helpers.
execute_process(COMMAND ${NM} -D --defined-only -C ${LIB} OUTPUT_VARIABLE syms RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIB}")
endif()
set(problems "")
foreach(tmpl Vector Matrix)
  foreach(t "char" "unsigned char" "int" "unsigned int" "float" "double"
            "REmath::Point3D" "REmath::Point3D_d" "REmath::HPoint3D" "REmath::HPoint3D_d")
    string(FIND "${syms}" "vtable for REmath::${tmpl}<${t}>" pos)
    if(pos EQUAL -1)
      list(APPEND problems "missing REmath::${tmpl}<${t}>")
    endif()
  endforeach()
endforeach()
foreach(sym "T QVmath_setCB_WriteLog" "T QVmath_setCB_WriteOutput" "B gpWriteLogFcn"
            "B gpWriteOutputFcn")
  string(FIND "${syms}" "${sym}\n" pos)
  if(pos EQUAL -1)
    list(APPEND problems "missing plain-named '${sym}'")
  endif()
endforeach()
string(REGEX MATCHALL "[^\n]*(REmath::detail::|\\(anonymous namespace\\))[^\n]*" internal "${syms}")
if(internal)
  list(APPEND problems "internal helpers exported: ${internal}")
endif()
if(problems)
  message(FATAL_ERROR "${problems}")
endif()
