// SPDX-License-Identifier: MIT
#include "json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace qvtool {

Json Json::Numbers(const double* v, int n) {
  Json a = Array();
  for (int i = 0; i < n; ++i) a.Push(v[i]);
  return a;
}

Json& Json::operator[](const std::string& key) {
  if (m_kind == Kind::Null) m_kind = Kind::Object;
  for (auto& item : m_items)
    if (item.first == key) return item.second;
  m_items.emplace_back(key, Json());
  return m_items.back().second;
}

Json& Json::Push(Json v) {
  if (m_kind == Kind::Null) m_kind = Kind::Array;
  m_items.emplace_back(std::string(), std::move(v));
  return m_items.back().second;
}

std::string Json::Dump() const {
  std::string out;
  DumpTo(out, 0);
  out += '\n';
  return out;
}

namespace {

void AppendString(std::string& out, const std::string& s) {
  out += '"';
  for (const char c : s) {
    const unsigned char u = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (u < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", u);
      out += buf;
    } else {
      out += c;
    }
  }
  out += '"';
}

}  // namespace

void Json::DumpTo(std::string& out, int depth) const {
  switch (m_kind) {
    case Kind::Null:
      out += "null";
      return;
    case Kind::Bool:
      out += m_int ? "true" : "false";
      return;
    case Kind::Integer:
      out += std::to_string(m_int);
      return;
    case Kind::Number: {
      if (!std::isfinite(m_number)) {
        out += "null";
        return;
      }
      char buf[32];
      const auto r = std::to_chars(buf, buf + sizeof buf, m_number);
      out.append(buf, r.ptr);
      return;
    }
    case Kind::String:
      AppendString(out, m_string);
      return;
    case Kind::Array:
    case Kind::Object:
      break;
  }
  const bool object = m_kind == Kind::Object;
  if (m_items.empty()) {
    out += object ? "{}" : "[]";
    return;
  }
  // Arrays of plain numbers stay on one line: coordinates and ranges read better so.
  bool flat = !object;
  for (const auto& item : m_items)
    flat = flat && (item.second.m_kind == Kind::Integer || item.second.m_kind == Kind::Number);
  out += object ? '{' : '[';
  const std::string pad(std::size_t(2 * (depth + 1)), ' ');
  for (std::size_t i = 0; i < m_items.size(); ++i) {
    if (i) out += flat ? ", " : ",";
    if (!flat) out += "\n" + pad;
    if (object) {
      AppendString(out, m_items[i].first);
      out += ": ";
    }
    m_items[i].second.DumpTo(out, depth + 1);
  }
  if (!flat) out += "\n" + std::string(std::size_t(2 * depth), ' ');
  out += object ? '}' : ']';
}

}  // namespace qvtool
