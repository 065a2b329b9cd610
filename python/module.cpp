// SPDX-License-Identifier: MIT
// The Python module `qvmath`: QVmath's point-cloud operations and geometry queries on NumPy
// arrays. Library faults become Python exceptions carrying their texts.
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include "bind_common.h"

PYBIND11_MODULE(qvmath, m) {
  namespace py = pybind11;
  m.doc() =
      "QVmath: geometry and numerics for 3-D scanning on NumPy arrays.\n\n"
      "Points are (n, 3) arrays of any real dtype and layout; the library computes in float32.\n"
      "Long operations release the GIL, take threads= (0: one per hardware thread) and\n"
      "progress= (a callable receiving 0..100), and stop with KeyboardInterrupt on Ctrl-C.\n"
      "std::invalid_argument from the library becomes ValueError, file errors OSError, other\n"
      "library faults qvmath.Error (a RuntimeError) with the library's text.";
  // The stop event through which Ctrl-C reaches the parts of the library that poll it.
  CProgressCounter::CreateStopEvent();

  static py::exception<CKorvaException> error(m, "Error", PyExc_RuntimeError);
  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const CUserIntrException& e) {
      PyErr_SetString(PyExc_KeyboardInterrupt, e.what());
    } catch (const REmath::ECloudFileError& e) {
      PyErr_SetString(PyExc_OSError, e.what());
    } catch (const CKorvaException& e) {
      error(e.what());
    } catch (const char* text) {
      // The library's plain faults are thrown as char*.
      error(text);
    }
  });

  qvmath_python::BindCloud(m);
  qvmath_python::BindGeometry(m);
}
