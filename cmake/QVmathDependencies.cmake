# SPDX-License-Identifier: MIT
# Third-party libraries, all from Debian packages. LAPACK/BLAS prefer OpenBLAS and
# fall back to whatever LAPACK CMake finds (the reference one works too).
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

if(NOT DEFINED BLA_VENDOR)
  set(BLA_VENDOR OpenBLAS)
  find_package(LAPACK QUIET)
  if(NOT LAPACK_FOUND)
    unset(BLA_VENDOR)
  endif()
endif()
find_package(LAPACK REQUIRED)
find_package(BLAS REQUIRED)
set(QVMATH_LAPACK_LIBS ${LAPACK_LIBRARIES} ${BLAS_LIBRARIES})

find_package(PkgConfig REQUIRED)
pkg_check_modules(CMINPACK REQUIRED cminpack)
