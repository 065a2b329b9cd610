// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/ply_io.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

std::vector<unsigned char> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

// Reads s; returns the error text ("" on success).
std::string ReadError(const std::vector<unsigned char>& s, CPointCloud& c) {
  try {
    ReadPlyCloud(s.data(), s.size(), c);
  } catch (const ECloudFileError& e) {
    return e.what();
  }
  return "";
}

// A cloud with every attribute and a field of every file type, holding values each type
// stores exactly, and a NaN and an infinite coordinate.
CPointCloud RichCloud(int n) {
  qvtest::TestRng rng(17);
  CPointCloud c;
  const ECloudFieldType types[] = {ECloudFieldType::Int8,    ECloudFieldType::UInt8,
                                   ECloudFieldType::Int16,   ECloudFieldType::UInt16,
                                   ECloudFieldType::Int32,   ECloudFieldType::UInt32,
                                   ECloudFieldType::Float32, ECloudFieldType::Float64};
  for (int i = 0; i < n; ++i) {
    c.Positions().emplace_back(float(rng.Uniform(-1e3, 1e3)), float(rng.Uniform(-1, 1)),
                               float(rng.Uniform(-1e-3, 1e-3)));
    c.Normals().emplace_back(float(rng.Uniform(-1, 1)), 0.5f, -0.25f);
    c.Colours().push_back(std::uint32_t(rng.Int(0, 0xFFFFFF)));
  }
  c.Positions()[0].x() = std::numeric_limits<float>::quiet_NaN();
  c.Positions()[1].y() = -std::numeric_limits<float>::infinity();
  for (int t = 0; t < 8; ++t) {
    CCloudScalarField& f = c.SetField("f" + std::to_string(t), types[t]);
    for (float& v : f.values)  // exact in every type; unsigned types (odd t) get no negatives
      v = t >= 6 ? float(rng.Uniform(-1, 1)) : float(rng.Int(0, 100) - (t % 2 ? 0 : 50));
  }
  return c;
}

void ExpectSameCloud(const CPointCloud& a, const CPointCloud& b) {
  ASSERT_EQ(a.Size(), b.Size());
  ASSERT_EQ(a.HasNormals(), b.HasNormals());
  ASSERT_EQ(a.Colours(), b.Colours());
  ASSERT_EQ(a.Fields().size(), b.Fields().size());
  // Bit for bit, NaN and infinity included.
  const auto n = std::size_t(a.Size()) * sizeof(Point3D);
  EXPECT_EQ(std::memcmp(a.Positions().data(), b.Positions().data(), n), 0);
  EXPECT_TRUE(!a.HasNormals() || std::memcmp(a.Normals().data(), b.Normals().data(), n) == 0);
  for (std::size_t f = 0; f < a.Fields().size(); ++f) {
    EXPECT_EQ(a.Fields()[f].name, b.Fields()[f].name);
    EXPECT_EQ(a.Fields()[f].fileType, b.Fields()[f].fileType);
    EXPECT_EQ(a.Fields()[f].values, b.Fields()[f].values) << a.Fields()[f].name;
  }
}

}  // namespace

TEST(PlyIo, Properties_RoundTripEveryEncodingKeepsEveryAttributeBitExact) {
  const CPointCloud c = RichCloud(257);
  for (EPlyEncoding enc :
       {EPlyEncoding::BinaryLittleEndian, EPlyEncoding::BinaryBigEndian, EPlyEncoding::Ascii}) {
    SCOPED_TRACE(int(enc));
    std::vector<unsigned char> bytes;
    WritePlyCloud(c, bytes, enc);
    CPointCloud back;
    ASSERT_EQ(ReadError(bytes, back), "");
    ExpectSameCloud(c, back);
  }
}

TEST(PlyIo, Regions_PropertySpellingsAndOtherElements) {
  struct Case {
    const char* header;  // element vertex 2 properties, then end_header
    const char* body;
    int attrs;  // 1: normals, 2: colours
    std::vector<std::string> fields;
  };
  const Case cases[] = {
      {"property float x\nproperty float y\nproperty float z\nproperty float nx\n"
       "property float ny\nproperty float nz\n",
       "1 2 3 0 0 1\n4 5 6 0 1 0\n",
       1,
       {}},
      {"property double x\nproperty double y\nproperty double z\nproperty float normal_x\n"
       "property float normal_y\nproperty float normal_z\nproperty uchar diffuse_red\n"
       "property uchar diffuse_green\nproperty uchar diffuse_blue\n",
       "1 2 3 0 0 1 10 20 30\n4 5 6 0 1 0 40 50 60\n",
       3,
       {}},
      {"property float32 z\nproperty float32 y\nproperty float32 x\nproperty uint8 r\n"
       "property uint8 g\nproperty uint8 b\nproperty uchar alpha\n",
       "3 2 1 10 20 30 255\n6 5 4 40 50 60 7\n",
       2,
       {"alpha"}},
      // Float colour channels and a lone normal component are carried as fields.
      {"property float x\nproperty float y\nproperty float z\nproperty float red\n"
       "property float green\nproperty float blue\nproperty float nx\n",
       "1 2 3 .1 .2 .3 1\n4 5 6 .4 .5 .6 0\n",
       0,
       {"red", "green", "blue", "nx"}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.header);
    // A face element with a list before the vertices is read past.
    const std::string text = std::string("ply\r\nformat ascii 1.0\ncomment c\nelement face 1\n") +
                             "property list uchar int vertex_indices\nelement vertex 2\n" +
                             k.header + "end_header\n3 0 1 1\n" + k.body;
    CPointCloud c;
    ASSERT_EQ(ReadError(Bytes(text), c), "");
    ASSERT_EQ(c.Size(), 2);
    EXPECT_EQ(c.Positions()[1].x(), 4.0f);
    EXPECT_EQ(c.Positions()[1].z(), 6.0f);
    ASSERT_EQ(int(c.HasNormals()) + 2 * int(c.HasColours()), k.attrs);
    EXPECT_TRUE(!c.HasNormals() || c.Normals()[1].y() == 1.0f);
    EXPECT_TRUE(!c.HasColours() || c.Colours()[1] == (40u | 50u << 8 | 60u << 16));
    ASSERT_EQ(c.Fields().size(), k.fields.size());
    for (std::size_t f = 0; f < k.fields.size(); ++f) EXPECT_EQ(c.Fields()[f].name, k.fields[f]);
  }
}

TEST(PlyIo, Degenerate_MalformedAndLyingFilesGiveNamedErrors) {
  const std::string xyz = "property float x\nproperty float y\nproperty float z\n";
  const std::string bin = "ply\nformat binary_little_endian 1.0\nelement vertex ";
  const struct {
    std::string text;
    const char* expected;
  } cases[] = {
      {"", "no 'ply' magic"},
      {"PLY\nformat ascii 1.0\n", "no 'ply' magic"},
      {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz, "no end_header"},
      {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "end_header", "no end_header"},
      {"ply\nformat ascii 2.0\nend_header\n", "unsupported format version"},
      {"ply\nformat utf8 1.0\nend_header\n", "unknown format"},
      {"ply\nelement vertex 1\n" + xyz + "end_header\n1 2 3\n", "no format line"},
      {"ply\nformat ascii 1.0\nproperty float x\nend_header\n", "property outside an element"},
      {"ply\nformat ascii 1.0\nelement vertex 1\nproperty half x\nend_header\n", "unknown type"},
      {"ply\nformat ascii 1.0\nelement vertex -1\nend_header\n", "bad count"},
      {"ply\nformat ascii 1.0\nelement vertex 99999999999999999999\nend_header\n", "bad count"},
      {"ply\nformat ascii 1.0\nelement face 0\nend_header\n", "no vertex element"},
      {"ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nend_header\n0 "
       "0\n",
       "no x, y and z"},
      {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "property float x\nend_header\n",
       "appears twice"},
      {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz +
           "property list uchar int idx\nend_header\n1 2 3 0\n",
       "list property idx"},
      {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "end_header\n1 2 x\n",
       "'x' is not a number"},
      {"ply\nformat ascii 1.0\nelement vertex 2\n" + xyz + "end_header\n1 2 3\n4 5\n", "truncated"},
      // Lying counts are caught before any allocation, whatever the count.
      {"ply\nformat ascii 1.0\nelement vertex 1000000\n" + xyz + "end_header\n1 2 3\n",
       "lying header"},
      {bin + "2000000000\n" + xyz + "end_header\n" + std::string(12, '\0'), "lying header"},
      {bin + "2\n" + xyz + "end_header\n" + std::string(23, '\0'), "lying header"},
      {"ply\nformat binary_little_endian 1.0\nelement face 1\nproperty list uint int idx\n"
       "element vertex 1\n" +
           xyz + "end_header\n\xff\xff\xff\x7f" + std::string(12, '\0'),
       "exceeds the data"},
      // The writer must be able to write back every name the reader accepts.
      {"ply\nformat ascii 1.0\nelement vertex 1\n" + xyz +
           "property float q\ra\nend_header\n1 2 3 4\n",
       "bad property name"},
      // A count beyond every integer width is refused before it is converted.
      {"ply\nformat ascii 1.0\nelement face 1\nproperty list uchar int idx\n"
       "element vertex 1\n" +
           xyz + "end_header\n1e121 0\n0 0 0\n",
       "exceeds the data"},
  };
  for (const auto& k : cases) {
    CPointCloud c;
    const std::string err = ReadError(Bytes(k.text), c);
    EXPECT_NE(err.find(k.expected), std::string::npos) << "got: " << err << "\nfor: " << k.text;
    EXPECT_EQ(err.rfind("PLY: ", 0), 0u) << err;
  }
}

TEST(PlyIo, Degenerate_WriterRejectsUnwritableFieldNames) {
  CPointCloud c;
  c.Positions().resize(2), c.SetField("x");
  std::vector<unsigned char> out;
  EXPECT_THROW(WritePlyCloud(c, out), std::invalid_argument);
  c.Fields()[0].name = "has space";
  EXPECT_THROW(WritePlyCloud(c, out), std::invalid_argument);
  c.Fields()[0].name = "fine", c.Fields()[0].values.pop_back();
  EXPECT_THROW(WritePlyCloud(c, out), std::invalid_argument);
  c.Fields()[0].values.push_back(0), c.Fields().push_back(c.Fields()[0]);  // "fine" twice
  EXPECT_THROW(WritePlyCloud(c, out), std::invalid_argument);
}
