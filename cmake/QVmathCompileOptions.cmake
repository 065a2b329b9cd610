# SPDX-License-Identifier: MIT
# Compile options shared by the library, its tests, benchmarks and tools.
# Results are specified to the last rounding: the compiler must neither fuse
# multiply-adds nor reorder floating-point arithmetic, and x86-64 SSE2 keeps
# every intermediate in its declared precision.
#
# -fno-tree-slp-vectorize: g++ 12.2's straight-line vectoriser folds a pair of
# double -> float -> double conversions into a plain copy, dropping the float rounding
# that the float routines are specified to perform (two adjacent doubles narrowed into a
# float array and widened back come out unrounded). Loop vectorisation and the explicit
# SSE2 paths are unaffected.
function(qvmath_strict_options target)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -ffp-contract=off -fno-fast-math
                               -fno-tree-slp-vectorize>)
  if(QVMATH_WERROR)
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Werror>)
  endif()
endfunction()

option(QVMATH_WERROR "Treat warnings as errors" OFF)
set(QVMATH_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, 'address;undefined' or 'thread'")
if(QVMATH_SANITIZE)
  list(JOIN QVMATH_SANITIZE "," _qvmath_san)
  add_compile_options(-fsanitize=${_qvmath_san} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${_qvmath_san})
endif()

# qvmath_add_program(<subsystem>/<file>.cpp <out-target-var> LIBS lib...)
# An executable of the test or benchmark trees, named <subsystem>_<file>, compiled like the
# library and linked to it; the target name is returned in <out-target-var>.
function(qvmath_add_program source out_var)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  get_filename_component(dir ${source} DIRECTORY)
  get_filename_component(stem ${source} NAME_WE)
  set(target ${dir}_${stem})
  add_executable(${target} ${source})
  qvmath_strict_options(${target})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE QVmath::qvmath Threads::Threads ${ARG_LIBS})
  set(${out_var} ${target} PARENT_SCOPE)
endfunction()
