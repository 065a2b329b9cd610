// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/detail/field_types.h>
#include <qvmath/cloud/detail/file_bytes.h>
#include <qvmath/cloud/ply_io.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace REmath {

namespace {

using detail::DecodeValue;
using detail::FieldTypeSize;

[[noreturn]] void Fail(const std::string& what) { throw ECloudFileError("PLY: " + what); }

struct Property {
  std::string name;
  ECloudFieldType type = ECloudFieldType::Float32;
  bool isList = false;
  ECloudFieldType countType = ECloudFieldType::UInt8;
};

struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> props;
};

enum class Format { Ascii, BinaryLE, BinaryBE };

using detail::kBlue, detail::kField, detail::kGreen, detail::kNx, detail::kNy, detail::kNz,
    detail::kRed, detail::kX, detail::kY, detail::kZ;

std::vector<std::string> SplitWords(const std::string& line) {
  std::vector<std::string> words;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    std::size_t j = i;
    while (j < line.size() && line[j] != ' ' && line[j] != '\t') ++j;
    if (j > i) words.push_back(line.substr(i, j - i));
    i = j;
  }
  return words;
}

// A count of the header: decimal digits only, at most 2^62 (far beyond any file; the byte
// check rejects what the file cannot hold).
std::uint64_t ParseCount(const std::string& s, const std::string& element) {
  if (s.empty() || s.size() > 18) Fail("element " + element + ": bad count '" + s + "'");
  std::uint64_t v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') Fail("element " + element + ": bad count '" + s + "'");
    v = v * 10 + std::uint64_t(c - '0');
  }
  return v;
}

// Header lines up to and including end_header; returns the offset of the body.
std::size_t ParseHeader(const unsigned char* data, std::size_t size, Format& format,
                        std::vector<Element>& elements) {
  std::size_t pos = 0;
  auto nextLine = [&](std::string& line) -> bool {
    if (pos >= size) return false;
    std::size_t e = pos;
    while (e < size && data[e] != '\n') ++e;
    if (e == size) return false;  // a header line must end with a newline
    line.assign(reinterpret_cast<const char*>(data) + pos, e - pos);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    pos = e + 1;
    return true;
  };
  std::string line;
  if (!nextLine(line) || line != "ply") Fail("not a PLY file (no 'ply' magic line)");
  bool haveFormat = false;
  for (;;) {
    if (!nextLine(line)) Fail("header has no end_header line (truncated?)");
    const std::vector<std::string> w = SplitWords(line);
    if (w.empty()) continue;
    if (w[0] == "comment" || w[0] == "obj_info") continue;
    if (w[0] == "end_header") break;
    if (w[0] == "format") {
      if (w.size() != 3 || haveFormat) Fail("bad format line '" + line + "'");
      if (w[1] == "ascii")
        format = Format::Ascii;
      else if (w[1] == "binary_little_endian")
        format = Format::BinaryLE;
      else if (w[1] == "binary_big_endian")
        format = Format::BinaryBE;
      else
        Fail("unknown format '" + w[1] + "'");
      if (w[2] != "1.0") Fail("unsupported format version '" + w[2] + "'");
      haveFormat = true;
    } else if (w[0] == "element") {
      if (w.size() != 3) Fail("bad element line '" + line + "'");
      for (const Element& e : elements)
        if (e.name == w[1]) Fail("element " + w[1] + " appears twice");
      elements.push_back(Element{w[1], ParseCount(w[2], w[1]), {}});
    } else if (w[0] == "property") {
      if (elements.empty()) Fail("property outside an element: '" + line + "'");
      Property p;
      if (w.size() == 5 && w[1] == "list") {
        p.isList = true;
        if (!detail::ParseFieldType(w[2], p.countType) || !detail::ParseFieldType(w[3], p.type))
          Fail("unknown type in '" + line + "'");
        if (p.countType == ECloudFieldType::Float32 || p.countType == ECloudFieldType::Float64)
          Fail("list count of floating type in '" + line + "'");
        p.name = w[4];
      } else if (w.size() == 3) {
        if (!detail::ParseFieldType(w[1], p.type)) Fail("unknown type '" + w[1] + "'");
        p.name = w[2];
      } else {
        Fail("bad property line '" + line + "'");
      }
      if (!detail::IsWritableFieldName(p.name)) Fail("bad property name in '" + line + "'");
      for (const Property& q : elements.back().props)
        if (q.name == p.name)
          Fail("element " + elements.back().name + ": property " + p.name + " appears twice");
      elements.back().props.push_back(p);
    } else {
      Fail("unknown header line '" + line + "'");
    }
  }
  if (!haveFormat) Fail("header has no format line");
  return pos;
}

// Smallest number of bytes one record of e can take in the body.
std::uint64_t MinRecordBytes(const Element& e, Format format) {
  std::uint64_t n = 0;
  for (const Property& p : e.props) {
    if (format == Format::Ascii)
      n += 2;  // a one-character token and its separator
    else
      n += std::uint64_t(FieldTypeSize(p.isList ? p.countType : p.type));
  }
  return n;
}

void CheckFits(const Element& e, Format format, std::size_t remaining) {
  const std::uint64_t rec = MinRecordBytes(e, format);
  if (rec == 0) {
    if (e.count > 0 && e.props.empty())
      Fail("element " + e.name + " has records but no properties");
    return;
  }
  // The last ASCII record may end without a separator: one byte of slack.
  const std::uint64_t have = std::uint64_t(remaining) + (format == Format::Ascii ? 1 : 0);
  if (e.count > have / rec)
    Fail("element " + e.name + ": " + std::to_string(e.count) + " records need at least " +
         std::to_string(e.count) + " x " + std::to_string(rec) + " bytes, " +
         std::to_string(remaining) + " remain (truncated file or lying header)");
}

// Sequential reader of the body.
class BodyReader {
 public:
  BodyReader(const unsigned char* data, std::size_t size, std::size_t pos, Format format)
      : m_data(data),
        m_size(size),
        m_pos(pos),
        m_format(format),
        m_swap((format == Format::BinaryLE) != detail::HostIsLittleEndian()) {}

  std::size_t Remaining() const { return m_size - m_pos; }

  double Value(ECloudFieldType t, const Element& e) {
    if (m_format == Format::Ascii) {
      const char* b;
      const char* en;
      Token(e, b, en);
      double v;
      if (!detail::ParseNumber(b, en, v))
        Fail("element " + e.name + ": '" + std::string(b, en) + "' is not a number");
      return v;
    }
    const int n = FieldTypeSize(t);
    if (Remaining() < std::size_t(n)) Fail("element " + e.name + ": data truncated");
    const double v = DecodeValue(m_data + m_pos, t, m_swap);
    m_pos += std::size_t(n);
    return v;
  }

  // Reads past one property of a record, a list or a value.
  void Skip(const Property& p, const Element& e) {
    if (p.isList)
      SkipList(p, e);
    else
      Value(p.type, e);
  }

  // Reads past every record of e.
  void SkipElement(const Element& e) {
    for (std::uint64_t k = 0; k < e.count; ++k)
      for (const Property& p : e.props) Skip(p, e);
  }

  // Reads past one list property; its count is checked against the remaining bytes.
  void SkipList(const Property& p, const Element& e) {
    const double c = Value(p.countType, e);
    if (!(c >= 0) || c != std::floor(c)) Fail("element " + e.name + ": bad list count");
    // Compared as doubles first: a count beyond every size_t must not reach the conversion.
    if (c > double(Remaining())) Fail("element " + e.name + ": list count exceeds the data");
    const std::uint64_t count = std::uint64_t(c);
    if (m_format == Format::Ascii) {
      for (std::uint64_t i = 0; i < count; ++i) Value(p.type, e);
    } else {
      const std::uint64_t bytes = count * std::uint64_t(FieldTypeSize(p.type));
      if (count > Remaining() || bytes > Remaining())
        Fail("element " + e.name + ": data truncated");
      m_pos += std::size_t(bytes);
    }
  }

 private:
  void Token(const Element& e, const char*& b, const char*& en) {
    const char* s = reinterpret_cast<const char*>(m_data);
    while (m_pos < m_size && IsSpace(s[m_pos])) ++m_pos;
    if (m_pos == m_size) Fail("element " + e.name + ": data truncated");
    const std::size_t start = m_pos;
    while (m_pos < m_size && !IsSpace(s[m_pos])) ++m_pos;
    b = s + start;
    en = s + m_pos;
  }
  static bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

  const unsigned char* m_data;
  std::size_t m_size;
  std::size_t m_pos;
  Format m_format;
  bool m_swap;
};

void AssignSlots(const Element& v, std::vector<int>& slot, bool& normals, bool& colours) {
  const int np = static_cast<int>(v.props.size());
  slot.assign(std::size_t(np), kField);
  auto find = [&](const char* name) {
    for (int i = 0; i < np; ++i)
      if (v.props[std::size_t(i)].name == name) return i;
    return -1;
  };
  const int x = find("x"), y = find("y"), z = find("z");
  if (x < 0 || y < 0 || z < 0) Fail("element vertex has no x, y and z properties");
  slot[std::size_t(x)] = kX;
  slot[std::size_t(y)] = kY;
  slot[std::size_t(z)] = kZ;
  normals = colours = false;
  static const char* const kNormalNames[][3] = {{"nx", "ny", "nz"},
                                                {"normal_x", "normal_y", "normal_z"}};
  for (const auto& names : kNormalNames) {
    const int a = find(names[0]), b = find(names[1]), c = find(names[2]);
    if (normals || a < 0 || b < 0 || c < 0) continue;
    slot[std::size_t(a)] = kNx;
    slot[std::size_t(b)] = kNy;
    slot[std::size_t(c)] = kNz;
    normals = true;
  }
  static const char* const kColourNames[][3] = {
      {"red", "green", "blue"}, {"diffuse_red", "diffuse_green", "diffuse_blue"}, {"r", "g", "b"}};
  for (const auto& names : kColourNames) {
    const int a = find(names[0]), b = find(names[1]), c = find(names[2]);
    if (colours || a < 0 || b < 0 || c < 0) continue;
    const auto u8 = ECloudFieldType::UInt8;
    if (v.props[std::size_t(a)].type != u8 || v.props[std::size_t(b)].type != u8 ||
        v.props[std::size_t(c)].type != u8)
      continue;
    slot[std::size_t(a)] = kRed;
    slot[std::size_t(b)] = kGreen;
    slot[std::size_t(c)] = kBlue;
    colours = true;
  }
  for (const Property& p : v.props)
    if (p.isList) Fail("element vertex: list property " + p.name + " is not supported");
}

void ReadVertices(BodyReader& rd, const Element& v, CPointCloud& cloud) {
  std::vector<int> slot;
  bool normals, colours;
  AssignSlots(v, slot, normals, colours);
  const std::size_t n = std::size_t(v.count);
  if (v.count > std::uint64_t(std::numeric_limits<int>::max()))
    Fail("element vertex: more than 2^31 - 1 points");
  cloud = CPointCloud();
  cloud.Positions().resize(n);
  if (normals) cloud.Normals().resize(n);
  if (colours) cloud.Colours().resize(n);
  std::vector<int> fieldOf(slot.size(), -1);
  for (std::size_t i = 0; i < slot.size(); ++i) {
    if (slot[i] != kField) continue;
    fieldOf[i] = static_cast<int>(cloud.Fields().size());
    cloud.Fields().push_back(CCloudScalarField{v.props[i].name, v.props[i].type, {}});
    cloud.Fields().back().values.resize(n);
  }
  auto& pos = cloud.Positions();
  auto& nrm = cloud.Normals();
  auto& col = cloud.Colours();
  Point3D noNormal;  // the target of normal slots when the cloud keeps no normals
  for (std::size_t k = 0; k < n; ++k) {
    std::uint32_t rgb = 0;
    Point3D& normal = nrm.empty() ? noNormal : nrm[k];
    for (std::size_t i = 0; i < slot.size(); ++i) {
      const double d = rd.Value(v.props[i].type, v);
      // An ASCII colour token may be out of 0..255; it is clamped as the binary form would be.
      if (!detail::StoreSlot(slot[i], d, pos[k], normal, rgb))
        cloud.Fields()[std::size_t(fieldOf[i])].values[k] = static_cast<float>(d);
    }
    if (colours) col[k] = rgb;
  }
}

void WriteHeaderAndBody(const CPointCloud& cloud, EPlyEncoding enc,
                        std::vector<unsigned char>& out) {
  cloud.CheckSizes();
  for (const auto& f : cloud.Fields()) {
    bool bad =
        !detail::IsWritableFieldName(f.name) || f.name == "x" || f.name == "y" || f.name == "z";
    if (cloud.HasNormals()) bad = bad || f.name == "nx" || f.name == "ny" || f.name == "nz";
    if (cloud.HasColours()) bad = bad || f.name == "red" || f.name == "green" || f.name == "blue";
    if (bad) throw std::invalid_argument("PLY: field name '" + f.name + "' cannot be written");
  }
  std::string h = "ply\nformat ";
  h += enc == EPlyEncoding::Ascii             ? "ascii"
       : enc == EPlyEncoding::BinaryBigEndian ? "binary_big_endian"
                                              : "binary_little_endian";
  h += " 1.0\ncomment written by QVmath\nelement vertex " + std::to_string(cloud.Size()) + "\n";
  h += "property float x\nproperty float y\nproperty float z\n";
  if (cloud.HasNormals()) h += "property float nx\nproperty float ny\nproperty float nz\n";
  if (cloud.HasColours()) h += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
  for (const auto& f : cloud.Fields())
    h += std::string("property ") + detail::FieldTypeName(f.fileType) + " " + f.name + "\n";
  h += "end_header\n";
  out.assign(h.begin(), h.end());
  const std::size_t n = std::size_t(cloud.Size());
  const auto& pos = cloud.Positions();
  const auto& nrm = cloud.Normals();
  const auto& col = cloud.Colours();
  const auto& fields = cloud.Fields();
  if (enc == EPlyEncoding::Ascii) {
    std::string line;
    for (std::size_t k = 0; k < n; ++k) {
      line.clear();
      auto put3 = [&](const Point3D& p) {
        detail::AppendFloat(line, p.x());
        line += ' ';
        detail::AppendFloat(line, p.y());
        line += ' ';
        detail::AppendFloat(line, p.z());
        line += ' ';
      };
      put3(pos[k]);
      if (cloud.HasNormals()) put3(nrm[k]);
      if (cloud.HasColours())
        for (int s = 0; s < 24; s += 8) line += std::to_string((col[k] >> s) & 0xFF) + ' ';
      for (const auto& f : fields) {
        detail::AppendValue(line, f.values[k], f.fileType);
        line += ' ';
      }
      line.back() = '\n';
      out.insert(out.end(), line.begin(), line.end());
    }
    return;
  }
  const bool swap = (enc == EPlyEncoding::BinaryLittleEndian) != detail::HostIsLittleEndian();
  std::size_t rec = 12 + (cloud.HasNormals() ? 12 : 0) + (cloud.HasColours() ? 3 : 0);
  for (const auto& f : fields) rec += std::size_t(FieldTypeSize(f.fileType));
  std::size_t at = out.size();
  out.resize(at + rec * n);
  unsigned char* p = out.data() + at;
  const auto f32 = ECloudFieldType::Float32;
  for (std::size_t k = 0; k < n; ++k) {
    auto put3 = [&](const Point3D& q) {
      detail::EncodeValue(q.x(), f32, swap, p);
      detail::EncodeValue(q.y(), f32, swap, p + 4);
      detail::EncodeValue(q.z(), f32, swap, p + 8);
      p += 12;
    };
    put3(pos[k]);
    if (cloud.HasNormals()) put3(nrm[k]);
    if (cloud.HasColours())
      for (int s = 0; s < 24; s += 8) *p++ = static_cast<unsigned char>((col[k] >> s) & 0xFF);
    for (const auto& f : fields) {
      detail::EncodeValue(f.values[k], f.fileType, swap, p);
      p += FieldTypeSize(f.fileType);
    }
  }
}

// Faces of a mesh from the element `face`: its index list, polygons split into fans.
void ReadFaces(BodyReader& rd, const Element& f, int vertexCount, CTriangleMesh& mesh) {
  int list = -1;
  for (std::size_t i = 0; i < f.props.size(); ++i)
    if (f.props[i].isList &&
        (f.props[i].name == "vertex_indices" || f.props[i].name == "vertex_index"))
      list = int(i);
  if (list < 0) Fail("element face has no vertex_indices list");
  std::vector<std::int32_t> corners;
  for (std::uint64_t k = 0; k < f.count; ++k)
    for (std::size_t i = 0; i < f.props.size(); ++i) {
      const Property& p = f.props[i];
      if (int(i) != list) {
        rd.Skip(p, f);
        continue;
      }
      const double c = rd.Value(p.countType, f);
      if (!(c >= 3) || c > double(rd.Remaining()) || c != std::floor(c))
        Fail("face " + std::to_string(k) + ": bad corner count");
      corners.clear();
      for (int j = 0; j < int(c); ++j) {
        const double v = rd.Value(p.type, f);
        if (!(v >= 0 && v < vertexCount) || v != std::floor(v))
          Fail("face " + std::to_string(k) + ": vertex index out of range");
        corners.push_back(std::int32_t(v));
      }
      for (std::size_t j = 1; j + 1 < corners.size(); ++j)
        mesh.Triangles().push_back({corners[0], corners[j], corners[j + 1]});
    }
}

}  // namespace

void ReadPlyMesh(const unsigned char* data, std::size_t size, CTriangleMesh& mesh) {
  if (!data && size) Fail("null buffer");
  Format format = Format::Ascii;
  std::vector<Element> elements;
  const std::size_t body = ParseHeader(data, size, format, elements);
  bool haveVertex = false;
  for (const Element& e : elements) haveVertex = haveVertex || e.name == "vertex";
  if (!haveVertex) Fail("no vertex element");
  mesh = CTriangleMesh();
  BodyReader rd(data, size, body, format);
  bool verticesRead = false;
  for (const Element& e : elements) {
    CheckFits(e, format, rd.Remaining());
    if (e.name == "vertex") {
      CPointCloud cloud;
      ReadVertices(rd, e, cloud);
      mesh.Vertices().swap(cloud.Positions());
      mesh.Normals().swap(cloud.Normals());
      verticesRead = true;
    } else if (e.name == "face") {
      if (!verticesRead) Fail("element face precedes element vertex");
      ReadFaces(rd, e, mesh.VertexCount(), mesh);
    } else {
      rd.SkipElement(e);
    }
  }
}

void ReadPlyMeshFile(const std::string& path, CTriangleMesh& mesh) {
  detail::ReadWithPath(path, [&](const std::vector<unsigned char>& bytes) {
    ReadPlyMesh(bytes.data(), bytes.size(), mesh);
  });
}

void WritePlyMesh(const CTriangleMesh& mesh, std::vector<unsigned char>& out,
                  EPlyEncoding encoding) {
  mesh.CheckValid();
  // The vertices through the cloud writer, then the face element appended: the vertex
  // element's header and body come first in both, so the header is patched, not rebuilt.
  CPointCloud cloud;
  cloud.Positions() = mesh.Vertices();
  cloud.Normals() = mesh.Normals();
  WriteHeaderAndBody(cloud, encoding, out);
  const std::string endHeader = "end_header\n";
  const auto at = std::search(out.begin(), out.end(), endHeader.begin(), endHeader.end());
  const std::string faceHeader = "element face " + std::to_string(mesh.TriangleCount()) +
                                 "\nproperty list uchar int vertex_indices\n";
  out.insert(at, faceHeader.begin(), faceHeader.end());
  if (encoding == EPlyEncoding::Ascii) {
    std::string text;
    for (const auto& t : mesh.Triangles())
      text += "3 " + std::to_string(t[0]) + ' ' + std::to_string(t[1]) + ' ' +
              std::to_string(t[2]) + '\n';
    out.insert(out.end(), text.begin(), text.end());
    return;
  }
  const bool swap = (encoding == EPlyEncoding::BinaryLittleEndian) != detail::HostIsLittleEndian();
  std::size_t pos = out.size();
  out.resize(pos + 13 * std::size_t(mesh.TriangleCount()));
  for (const auto& t : mesh.Triangles()) {
    out[pos++] = 3;
    for (std::int32_t v : t) {
      detail::EncodeValue(double(v), ECloudFieldType::Int32, swap, out.data() + pos);
      pos += 4;
    }
  }
}

void WritePlyMeshFile(const std::string& path, const CTriangleMesh& mesh, EPlyEncoding encoding) {
  std::vector<unsigned char> bytes;
  WritePlyMesh(mesh, bytes, encoding);
  detail::WriteFileBytes(path, bytes.data(), bytes.size());
}

void ReadPlyCloud(const unsigned char* data, std::size_t size, CPointCloud& cloud) {
  if (!data && size) Fail("null buffer");
  Format format = Format::Ascii;
  std::vector<Element> elements;
  const std::size_t body = ParseHeader(data, size, format, elements);
  const Element* vertex = nullptr;
  for (const Element& e : elements)
    if (e.name == "vertex") vertex = &e;
  if (!vertex) Fail("no vertex element");
  BodyReader rd(data, size, body, format);
  for (const Element& e : elements) {
    CheckFits(e, format, rd.Remaining());
    if (&e == vertex) {
      ReadVertices(rd, e, cloud);
      break;  // later elements are dropped unread
    }
    rd.SkipElement(e);
  }
}

void ReadPlyCloudFile(const std::string& path, CPointCloud& cloud) {
  detail::ReadWithPath(path, [&](const std::vector<unsigned char>& bytes) {
    ReadPlyCloud(bytes.data(), bytes.size(), cloud);
  });
}

void WritePlyCloud(const CPointCloud& cloud, std::vector<unsigned char>& out,
                   EPlyEncoding encoding) {
  WriteHeaderAndBody(cloud, encoding, out);
}

void WritePlyCloudFile(const std::string& path, const CPointCloud& cloud, EPlyEncoding encoding) {
  std::vector<unsigned char> bytes;
  WriteHeaderAndBody(cloud, encoding, bytes);
  detail::WriteFileBytes(path, bytes.data(), bytes.size());
}

}  // namespace REmath
