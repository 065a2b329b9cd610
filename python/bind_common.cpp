// SPDX-License-Identifier: MIT
// Array conversion and the cancellable runner of the Python bindings.
#include "bind_common.h"

#include <qvmath/infra/progress_counter.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <future>
#include <optional>
#include <sstream>
#include <thread>

namespace qvmath_python {

namespace {

// Describes the shape and dtype of an array for error messages: "shape (4, 2) of float64".
std::string Describe(const py::array& a) {
  std::ostringstream s;
  s << "shape (";
  for (py::ssize_t i = 0; i < a.ndim(); ++i) s << (i ? ", " : "") << a.shape(i);
  s << (a.ndim() == 1 ? ",)" : ")") << " of " << std::string(py::str(a.dtype()));
  return s.str();
}

// A NumPy array of a real (integer or floating) dtype, or a value error naming `name`.
py::array RealArray(const py::handle& obj, const char* name, const std::string& expected) {
  py::array a = py::array::ensure(obj);
  if (!a) throw py::value_error(std::string(name) + " must be " + expected);
  const char kind = a.dtype().kind();
  if (kind != 'f' && kind != 'i' && kind != 'u')
    throw py::value_error(std::string(name) + " must be " + expected + ", got " + Describe(a));
  return a;
}

}  // namespace

CPointsView::CPointsView(const py::handle& obj, const char* name) {
  const std::string expected = "an (n, 3) array of real numbers";
  py::array a = RealArray(obj, name, expected);
  if (a.ndim() != 2 || a.shape(1) != 3)
    throw py::value_error(std::string(name) + " must be " + expected + ", got " + Describe(a));
  if (a.shape(0) > py::ssize_t(1) << 30)
    throw py::value_error(std::string(name) + " holds more than 2^30 points");
  // A C-contiguous float32 array passes through untouched; anything else becomes one.
  using FloatC = py::array_t<float, py::array::c_style | py::array::forcecast>;
  FloatC f = FloatC::ensure(a);
  if (!f) throw py::error_already_set();
  m_array = f;
  m_n = int(f.shape(0));
  m_direct = reinterpret_cast<const REmath::Point3D*>(f.data());
  static_assert(sizeof(REmath::Point3D) == 3 * sizeof(float), "Point3D must be three floats");
}

std::vector<double> ReadRealArray(const py::handle& obj, const char* name,
                                  const std::vector<py::ssize_t>& tail, py::ssize_t& leading) {
  std::ostringstream want;
  want << "an array of shape (n";
  for (py::ssize_t t : tail) want << ", " << t;
  want << (tail.empty() ? ",)" : ")") << " of real numbers";
  py::array a = RealArray(obj, name, want.str());
  bool ok = a.ndim() == py::ssize_t(tail.size() + 1);
  for (std::size_t i = 0; ok && i < tail.size(); ++i) ok = a.shape(py::ssize_t(i + 1)) == tail[i];
  if (!ok)
    throw py::value_error(std::string(name) + " must be " + want.str() + ", got " + Describe(a));
  using DoubleC = py::array_t<double, py::array::c_style | py::array::forcecast>;
  DoubleC d = DoubleC::ensure(a);
  if (!d) throw py::error_already_set();
  leading = d.shape(0);
  return std::vector<double>(d.data(), d.data() + d.size());
}

py::array_t<bool> ToBoolArray(const std::vector<unsigned char>& flags) {
  py::array_t<bool> out(py::ssize_t(flags.size()));
  bool* p = out.mutable_data();
  for (std::size_t i = 0; i < flags.size(); ++i) p[i] = flags[i] != 0;
  return out;
}

namespace {

// Shared between the worker's progress callback (any thread) and the waiting caller.
struct CRunState {
  std::atomic<int> pos{-1};
  std::atomic<bool> cancel{false};
};

int ProgressCallback(int pos, void* context) {
  auto* state = static_cast<CRunState*>(context);
  state->pos.store(pos, std::memory_order_relaxed);
  return state->cancel.load(std::memory_order_relaxed) ? 1 : 0;
}

}  // namespace

void RunCancellable(const py::object& progress,
                    const std::function<void(CProgressCounter*)>& work) {
  CRunState state;
  CProgressCounter counter;
  counter.SetContext(&state);
  counter.SetCallback(&ProgressCallback);
  std::exception_ptr failure;
  std::promise<void> done;
  std::future<void> finished = done.get_future();
  std::thread worker([&] {
    try {
      work(&counter);
    } catch (...) {
      failure = std::current_exception();
    }
    done.set_value();
  });

  std::optional<py::error_already_set> raised;
  bool stopSignalled = false;
  const auto cancel = [&] {
    state.cancel.store(true, std::memory_order_relaxed);
    CProgressCounter::SignalStopEvent();
    stopSignalled = true;
  };
  int shown = -1;
  for (bool ready = false; !ready;) {
    {
      py::gil_scoped_release nogil;
      ready = finished.wait_for(std::chrono::milliseconds(20)) == std::future_status::ready;
    }
    if (raised) continue;
    const int pos = state.pos.load(std::memory_order_relaxed);
    try {
      if (!progress.is_none() && pos != shown) {
        shown = pos;
        progress(pos);
      }
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    } catch (py::error_already_set& e) {
      raised.emplace(std::move(e));
      cancel();
    }
  }
  worker.join();
  if (stopSignalled) CProgressCounter::ResetStopEvent();
  if (raised) throw std::move(*raised);
  if (failure) std::rethrow_exception(failure);
  if (!progress.is_none() && state.pos.load() != shown) progress(state.pos.load());
}

}  // namespace qvmath_python
