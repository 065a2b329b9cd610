// SPDX-License-Identifier: MIT
// A small JSON value (null, bool, number, string, array, object with keys in insertion
// order) and its text form, for the program's reports and plane lists.
#pragma once

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qvtool {

class Json {
 public:
  enum class Kind { Null, Bool, Integer, Number, String, Array, Object };

  Json() = default;
  Json(bool b) : m_kind(Kind::Bool), m_int(b) {}
  template <class T,
            std::enable_if_t<std::is_integral<T>::value && !std::is_same<T, bool>::value, int> = 0>
  Json(T v) : m_kind(Kind::Integer), m_int(static_cast<long long>(v)) {}
  Json(double v) : m_kind(Kind::Number), m_number(v) {}
  Json(const char* s) : m_kind(Kind::String), m_string(s) {}
  Json(std::string s) : m_kind(Kind::String), m_string(std::move(s)) {}

  static Json Array() { return Json(Kind::Array); }
  static Json Object() { return Json(Kind::Object); }
  /// An array of the given numbers.
  static Json Numbers(const double* v, int n);

  Kind GetKind() const { return m_kind; }
  /// Object member `key`, appended as null when absent (a null value becomes an object).
  Json& operator[](const std::string& key);
  /// Appends `v` to an array (a null value becomes an array); @return the new element.
  Json& Push(Json v);

  /// The JSON text, indented by two spaces per level. Non-finite numbers are written as
  /// null (JSON has no NaN); numbers in the shortest form that reads back exactly.
  std::string Dump() const;

 private:
  explicit Json(Kind k) : m_kind(k) {}
  void DumpTo(std::string& out, int depth) const;

  Kind m_kind = Kind::Null;
  long long m_int = 0;
  double m_number = 0;
  std::string m_string;
  std::vector<std::pair<std::string, Json>> m_items;  // array elements have empty keys
};

}  // namespace qvtool
