# SPDX-License-Identifier: MIT
# Drives `qvmath reconstruct` and `qvmath deviation`: cmake -DQVMATH=<program>
# -DWORK=<scratch folder> -P this. The torus sample must give a closed genus-1 mesh that the
# sample lies on; bad inputs, cancelled runs and failing writes exit with one line and leave
# no file behind.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# check(<expected exit code> command...): runs the command in WORK; its stdout lands in
# RUN_OUT, its stderr in RUN_ERR. A failing run must say why in exactly one line.
function(check expected)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK}
                  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc STREQUAL "${expected}")
    message(FATAL_ERROR "${ARGN}: exit ${rc}, expected ${expected}\n${out}\n${err}")
  endif()
  if(NOT expected EQUAL 0 AND NOT err MATCHES "^qvmath: [^\n]+\n$")
    message(FATAL_ERROR "${ARGN}: expected one line on stderr, got:\n${err}")
  endif()
  set(RUN_OUT "${out}" PARENT_SCOPE)
  set(RUN_ERR "${err}" PARENT_SCOPE)
endfunction()
macro(run expected)
  check(${expected} ${QVMATH} ${ARGN})
endmacro()
# No temporaries anywhere in WORK, and none of the named files.
function(expect_absent)
  file(GLOB left LIST_DIRECTORIES false ${WORK}/.*qvtmp*)
  foreach(name IN LISTS ARGN)
    if(EXISTS ${WORK}/${name})
      list(APPEND left ${name})
    endif()
  endforeach()
  if(left)
    message(FATAL_ERROR "left behind: ${left}")
  endif()
endfunction()
function(json_get var file)
  file(READ ${WORK}/${file} text)
  string(JSON value GET "${text}" ${ARGN})
  set(${var} "${value}" PARENT_SCOPE)
endfunction()

# The torus R = 1, r = 0.3 reconstructs closed, one piece, Euler characteristic 0.
run(0 sample torus -n 4000 --noise 0 --no-truth -o torus.ply -q)
run(0 reconstruct torus.ply -o mesh.ply --report rec.json -j 2)
if(NOT RUN_OUT MATCHES "1 component, closed, Euler characteristic 0\n")
  message(FATAL_ERROR "reconstruct summary:\n${RUN_OUT}")
endif()
json_get(closed rec.json inputs 0 mesh closed)
json_get(euler rec.json inputs 0 mesh euler_characteristic)
json_get(boundary rec.json inputs 0 mesh boundary_edges)
json_get(nonmanifold rec.json inputs 0 mesh non_manifold_edges)
json_get(components rec.json inputs 0 mesh components)
json_get(recmax rec.json inputs 0 sample_distance max)
if(NOT closed OR NOT euler EQUAL 0 OR NOT boundary EQUAL 0 OR NOT nonmanifold EQUAL 0
   OR NOT components EQUAL 1)
  message(FATAL_ERROR "torus mesh: closed ${closed}, Euler ${euler}, ${boundary} boundary, "
                      "${nonmanifold} non-manifold edges, ${components} components")
endif()

# The sample against its mesh: every point within 0.01 (0.0054 measured; r = 0.3), every
# point in the histogram, and the field read back by `info` spans the reported extremes.
run(0 deviation torus.ply mesh.ply -o dev.ply --tolerance 0.002 --png dev.png
    --report dev.json -q)
json_get(maxabs dev.json inputs 0 statistics max_abs)
json_get(lo dev.json inputs 0 statistics min)
json_get(hi dev.json inputs 0 statistics max)
json_get(within dev.json inputs 0 statistics within_tolerance)
json_get(counts dev.json inputs 0 histogram counts)
string(REGEX REPLACE "[][ \n]" "" counts "${counts}")
string(REPLACE "," "+" counts "${counts}")
math(EXPR binned "${counts}")
if(maxabs GREATER 0.01 OR maxabs LESS 0.5e-3 OR NOT binned EQUAL 4000 OR within LESS 0.5)
  message(FATAL_ERROR
          "deviation: max ${maxabs} (reconstruct: ${recmax}), ${binned} binned, ${within} within")
endif()
run(0 info dev.ply --report info.json -q)
json_get(name info.json inputs 0 fields 0 name)
json_get(fmin info.json inputs 0 fields 0 min)
json_get(fmax info.json inputs 0 fields 0 max)
json_get(colours info.json inputs 0 colours)
if(NOT name STREQUAL "deviation" OR NOT fmin EQUAL lo OR NOT fmax EQUAL hi OR NOT colours)
  message(FATAL_ERROR "dev.ply: field ${name} [${fmin}, ${fmax}], expected [${lo}, ${hi}], "
                      "colours ${colours}")
endif()
file(READ ${WORK}/dev.png magic LIMIT 8 HEX)
if(NOT magic STREQUAL "89504e470d0a1a0a")
  message(FATAL_ERROR "dev.png is not a PNG: ${magic}")
endif()

# Bad inputs: exit 2, one line naming the culprit, nothing written.
foreach(case
        "missing.ply: ;reconstruct;missing.ply;-o;bad.ply"
        "exceeds the limit of 1 MB;reconstruct;torus.ply;-o;bad.ply;--max-memory;1M"
        "missing.ply: ;deviation;torus.ply;missing.ply;-o;bad.ply"
        "torus.ply: the mesh has no triangles;deviation;torus.ply;torus.ply;-o;bad.ply")
  list(POP_FRONT case message)
  run(2 ${case})
  if(NOT RUN_ERR MATCHES "${message}")
    message(FATAL_ERROR "qvmath ${case}: expected '${message}', got ${RUN_ERR}")
  endif()
  expect_absent(bad.ply)
endforeach()

# Ctrl-C after the second progress report, and a write that runs out of room (a file size
# limit, under which the write fails with EFBIG as on a full disk): exit 130 or 1, neither
# output nor temporary left.
find_program(PRLIMIT prlimit)
foreach(command
        "reconstruct;torus.ply;-o;out.ply"
        "deviation;torus.ply;mesh.ply;-o;out.ply;--png;out.png")
  execute_process(COMMAND ${CMAKE_COMMAND} -E env QVMATH_INTERRUPT_AFTER=2
                          ${QVMATH} ${command} -q
                  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE rc ERROR_QUIET)
  if(NOT rc EQUAL 130)
    message(FATAL_ERROR "cancelled ${command}: exit ${rc}")
  endif()
  expect_absent(out.ply out.png)
  if(PRLIMIT)
    check(1 ${PRLIMIT} --fsize=30000 ${QVMATH} ${command} -q)
    if(NOT RUN_ERR MATCHES "cannot write")
      message(FATAL_ERROR "${command} into a full file system: ${RUN_ERR}")
    endif()
    expect_absent(out.ply out.png)
  endif()
endforeach()
