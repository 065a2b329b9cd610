// SPDX-License-Identifier: MIT
// Shared pieces of the Python bindings: NumPy (n, 3) arrays read without a copy where the
// layout allows, results handed to NumPy without a copy, and the runner that executes a
// computation with the GIL released, reports progress and turns Ctrl-C into cancellation.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <qvmath/core/point3d.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class CProgressCounter;

namespace qvmath_python {

namespace py = pybind11;

/// Points of an (n, 3) array (any real dtype, any strides): `data()` points into the array
/// itself when it is C-contiguous float32 and into a float copy otherwise. Holds a reference
/// to the array, so `data()` stays valid while the object lives (also without the GIL).
class CPointsView {
 public:
  /// @throws py::value_error "<name> must be an (n, 3) array of real numbers, got ..." for
  ///         another shape or a non-numeric dtype.
  CPointsView(const py::handle& obj, const char* name);
  int Size() const { return m_n; }
  const REmath::Point3D* data() const { return m_direct ? m_direct : m_copy.data(); }
  /// Whether the array was used in place.
  bool InPlace() const { return m_direct != nullptr; }

 private:
  py::array m_array;
  const REmath::Point3D* m_direct = nullptr;
  std::vector<REmath::Point3D> m_copy;
  int m_n = 0;
};

/// The array of `obj` with a real dtype of `ndim` dimensions whose trailing extents are
/// `tail` (the leading extent free), converted to double in C order.
/// @throws py::value_error naming `name` and the expected shape otherwise.
std::vector<double> ReadRealArray(const py::handle& obj, const char* name,
                                  const std::vector<py::ssize_t>& tail, py::ssize_t& leading);

/// Moves `v` into a NumPy array of shape `shape` of element type T without copying
/// (`v.size() * sizeof(V)` must equal the product of `shape` times sizeof(T)).
template <class T, class V>
py::array_t<T> ToArray(std::vector<V>&& v, std::vector<py::ssize_t> shape) {
  auto* owned = new std::vector<V>(std::move(v));
  py::capsule guard(owned, [](void* p) { delete static_cast<std::vector<V>*>(p); });
  return py::array_t<T>(std::move(shape), reinterpret_cast<T*>(owned->data()), guard);
}

/// Copies 0/1 flags into a boolean array.
py::array_t<bool> ToBoolArray(const std::vector<unsigned char>& flags);

/// Runs `work(counter)` on a worker thread with the GIL released and waits for it. Meanwhile
/// the calling thread hands every new integer position 0..100 of the counter to
/// `progress(pos)` (unless None) and checks for signals; Ctrl-C (or an exception raised by
/// `progress`) cancels the work through the counter's callback and the process-wide stop
/// event and is then raised. An exception of `work` is rethrown on the calling thread.
void RunCancellable(const py::object& progress,
                    const std::function<void(CProgressCounter* counter)>& work);

/// Registers the cloud functions (read, write, normals, curvature, planes, reconstruct,
/// sample_torus).
void BindCloud(py::module_& m);
/// Registers the geometry functions (polygonize, distance_to_triangles, distance_to_segments).
void BindGeometry(py::module_& m);

}  // namespace qvmath_python
