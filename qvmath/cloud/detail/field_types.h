// SPDX-License-Identifier: MIT
// Internal: sizes, names and conversions of the scalar types of the cloud file formats.
// Not installed.
#pragma once

#include <qvmath/cloud/point_cloud.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

namespace REmath {
namespace detail {

// A field name both file headers can carry: not empty, no space or control byte (bytes from
// 0x80 on are kept, so UTF-8 names pass). Readers and writers share it, so that every cloud
// read can be written again.
inline bool IsWritableFieldName(const std::string& name) {
  if (name.empty()) return false;
  for (const char ch : name) {
    const auto b = static_cast<unsigned char>(ch);
    if (b <= 0x20 || b == 0x7f) return false;
  }
  return true;
}

inline int FieldTypeSize(ECloudFieldType t) {
  switch (t) {
    case ECloudFieldType::Int8:
    case ECloudFieldType::UInt8:
      return 1;
    case ECloudFieldType::Int16:
    case ECloudFieldType::UInt16:
      return 2;
    case ECloudFieldType::Int32:
    case ECloudFieldType::UInt32:
    case ECloudFieldType::Float32:
      return 4;
    case ECloudFieldType::Float64:
      return 8;
  }
  return 0;
}

// The classic PLY spelling, which every reader understands.
inline const char* FieldTypeName(ECloudFieldType t) {
  switch (t) {
    case ECloudFieldType::Int8:
      return "char";
    case ECloudFieldType::UInt8:
      return "uchar";
    case ECloudFieldType::Int16:
      return "short";
    case ECloudFieldType::UInt16:
      return "ushort";
    case ECloudFieldType::Int32:
      return "int";
    case ECloudFieldType::UInt32:
      return "uint";
    case ECloudFieldType::Float32:
      return "float";
    case ECloudFieldType::Float64:
      return "double";
  }
  return "float";
}

// Parses both PLY spellings of a type name; false for anything else.
inline bool ParseFieldType(const std::string& s, ECloudFieldType& t) {
  static const struct {
    const char* a;
    const char* b;
    ECloudFieldType t;
  } kNames[] = {{"char", "int8", ECloudFieldType::Int8},
                {"uchar", "uint8", ECloudFieldType::UInt8},
                {"short", "int16", ECloudFieldType::Int16},
                {"ushort", "uint16", ECloudFieldType::UInt16},
                {"int", "int32", ECloudFieldType::Int32},
                {"uint", "uint32", ECloudFieldType::UInt32},
                {"float", "float32", ECloudFieldType::Float32},
                {"double", "float64", ECloudFieldType::Float64}};
  for (const auto& k : kNames)
    if (s == k.a || s == k.b) {
      t = k.t;
      return true;
    }
  return false;
}

// Decodes one value of type t from p (size FieldTypeSize(t)); `swap` reverses the bytes.
inline double DecodeValue(const unsigned char* p, ECloudFieldType t, bool swap) {
  unsigned char b[8];
  const int n = FieldTypeSize(t);
  for (int i = 0; i < n; ++i) b[i] = swap ? p[n - 1 - i] : p[i];
  switch (t) {
    case ECloudFieldType::Int8: {
      std::int8_t v;
      std::memcpy(&v, b, 1);
      return v;
    }
    case ECloudFieldType::UInt8:
      return b[0];
    case ECloudFieldType::Int16: {
      std::int16_t v;
      std::memcpy(&v, b, 2);
      return v;
    }
    case ECloudFieldType::UInt16: {
      std::uint16_t v;
      std::memcpy(&v, b, 2);
      return v;
    }
    case ECloudFieldType::Int32: {
      std::int32_t v;
      std::memcpy(&v, b, 4);
      return v;
    }
    case ECloudFieldType::UInt32: {
      std::uint32_t v;
      std::memcpy(&v, b, 4);
      return v;
    }
    case ECloudFieldType::Float32: {
      float v;
      std::memcpy(&v, b, 4);
      return v;
    }
    case ECloudFieldType::Float64: {
      double v;
      std::memcpy(&v, b, 8);
      return v;
    }
  }
  return 0.0;
}

// Rounds v to nearest and clamps it to [lo, hi]; NaN gives 0.
inline double ClampRound(double v, double lo, double hi) {
  if (std::isnan(v)) return 0.0;
  v = std::nearbyint(v);
  return v < lo ? lo : (v > hi ? hi : v);
}

// Where a read value goes: a position or normal component, a colour channel, or a named
// scalar field.
enum Slot : int { kX, kY, kZ, kNx, kNy, kNz, kRed, kGreen, kBlue, kField };

// Stores the value v read for `slot` into the point's position, normal or packed colour
// (channels rounded and clamped to 0..255, as the binary forms hold them).
// @return false for kField: the caller stores the value in its field.
inline bool StoreSlot(int slot, double v, Point3D& pos, Point3D& nrm, std::uint32_t& rgb) {
  const float f = static_cast<float>(v);
  switch (slot) {
    case kX:
      pos.x() = f;
      return true;
    case kY:
      pos.y() = f;
      return true;
    case kZ:
      pos.z() = f;
      return true;
    case kNx:
      nrm.x() = f;
      return true;
    case kNy:
      nrm.y() = f;
      return true;
    case kNz:
      nrm.z() = f;
      return true;
    case kRed:
      rgb |= std::uint32_t(ClampRound(v, 0, 255));
      return true;
    case kGreen:
      rgb |= std::uint32_t(ClampRound(v, 0, 255)) << 8;
      return true;
    case kBlue:
      rgb |= std::uint32_t(ClampRound(v, 0, 255)) << 16;
      return true;
    default:
      return false;
  }
}

// Encodes v as type t into p; `swap` reverses the bytes. Integer types round and clamp.
inline void EncodeValue(double v, ECloudFieldType t, bool swap, unsigned char* p) {
  unsigned char b[8];
  const int n = FieldTypeSize(t);
  switch (t) {
    case ECloudFieldType::Int8: {
      auto x = std::int8_t(ClampRound(v, -128, 127));
      std::memcpy(b, &x, 1);
      break;
    }
    case ECloudFieldType::UInt8: {
      auto x = std::uint8_t(ClampRound(v, 0, 255));
      std::memcpy(b, &x, 1);
      break;
    }
    case ECloudFieldType::Int16: {
      auto x = std::int16_t(ClampRound(v, -32768, 32767));
      std::memcpy(b, &x, 2);
      break;
    }
    case ECloudFieldType::UInt16: {
      auto x = std::uint16_t(ClampRound(v, 0, 65535));
      std::memcpy(b, &x, 2);
      break;
    }
    case ECloudFieldType::Int32: {
      auto x = std::int32_t(ClampRound(v, -2147483648.0, 2147483647.0));
      std::memcpy(b, &x, 4);
      break;
    }
    case ECloudFieldType::UInt32: {
      auto x = std::uint32_t(ClampRound(v, 0, 4294967295.0));
      std::memcpy(b, &x, 4);
      break;
    }
    case ECloudFieldType::Float32: {
      float x = float(v);
      std::memcpy(b, &x, 4);
      break;
    }
    case ECloudFieldType::Float64:
      std::memcpy(b, &v, 8);
      break;
  }
  for (int i = 0; i < n; ++i) p[i] = swap ? b[n - 1 - i] : b[i];
}

inline bool HostIsLittleEndian() {
  const std::uint16_t one = 1;
  unsigned char c;
  std::memcpy(&c, &one, 1);
  return c == 1;
}

// Appends the shortest decimal form of v that reads back to the same float (locale-free).
inline void AppendFloat(std::string& out, float v) {
  char buf[32];
  if (std::isnan(v)) {
    out += "nan";
    return;
  }
  if (std::isinf(v)) {
    out += v > 0 ? "inf" : "-inf";
    return;
  }
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

// Appends v as written to a field of type t: integers for integer types (rounded, clamped).
inline void AppendValue(std::string& out, float v, ECloudFieldType t) {
  if (t == ECloudFieldType::Float32 || t == ECloudFieldType::Float64) return AppendFloat(out, v);
  unsigned char b[8];
  EncodeValue(v, t, false, b);
  const double x = DecodeValue(b, t, false);
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, static_cast<long long>(x));
  out.append(buf, r.ptr);
}

// Parses one decimal number (an optional sign, digits, fraction, exponent, or inf/nan) that
// spans exactly [b, e). false when the token is not a number.
inline bool ParseNumber(const char* b, const char* e, double& v) {
  if (b < e && *b == '+') ++b;
  if (b == e) return false;
  const auto r = std::from_chars(b, e, v);
  return r.ec == std::errc() && r.ptr == e;
}

}  // namespace detail
}  // namespace REmath
