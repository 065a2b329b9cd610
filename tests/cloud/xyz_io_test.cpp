// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/xyz_io.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "test_util.h"

using namespace REmath;

namespace {
std::string ReadError(const std::string& s, CPointCloud& c) {
  try {
    ReadXyzCloud(s.data(), s.size(), c);
  } catch (const ECloudFileError& e) {
    return e.what();
  }
  return "";
}
}  // namespace

TEST(XyzIo, Properties_RoundTripThroughFilesOfBothFormats) {
  qvtest::TestRng rng(5);
  CPointCloud c;
  for (int i = 0; i < 100; ++i) {
    c.Positions().emplace_back(float(rng.Uniform(-1e5, 1e5)), float(rng.Uniform(-1, 1)), 1e-30f);
    c.Normals().emplace_back(0.0f, float(rng.Uniform(-1, 1)), 1.0f);
    c.Colours().push_back(std::uint32_t(rng.Int(0, 0xFFFFFF)));
  }
  CCloudScalarField& f = c.SetField("curv");
  for (auto& v : f.values) v = float(rng.Uniform(-10, 10));
  for (const char* name : {"cloud_io_test.xyz", "cloud_io_test.PLY"}) {
    const std::string path = testing::TempDir() + name;
    WriteCloudFile(path, c);
    CPointCloud back;
    ReadCloudFile(path, back);
    std::remove(path.c_str());
    ASSERT_EQ(back.Size(), c.Size());
    const auto n = std::size_t(c.Size()) * sizeof(Point3D);
    EXPECT_EQ(std::memcmp(back.Positions().data(), c.Positions().data(), n), 0) << name;
    EXPECT_EQ(std::memcmp(back.Normals().data(), c.Normals().data(), n), 0) << name;
    EXPECT_EQ(back.Colours(), c.Colours());
    ASSERT_NE(back.FindField("curv"), nullptr);
    EXPECT_EQ(back.FindField("curv")->values, f.values);
  }
}

TEST(XyzIo, Regions_ColumnLayouts) {
  struct Case {
    std::string text;
    int n;
    bool normals, colours;
    int fields;
  };
  const Case cases[] = {
      {"1 2 3\n4 5 6\n", 2, false, false, 0},
      {"# scan\n1,2,3,0,0,1\r\n\n4,5,6,0,1,0\r\n", 2, true, false, 0},
      {"1 2 3 7\n4 5 6 8\n", 2, false, false, 1},
      {"# x y z r g b intensity\n1 2 3 10 20 30 .5\n", 1, false, true, 1},
      {"#x y z normal_x normal_y normal_z\n1 2 3 0 0 1\n", 1, true, false, 0},
      {"", 0, false, false, 0},
  };
  for (const Case& k : cases) {
    CPointCloud c;
    ASSERT_EQ(ReadError(k.text, c), "") << k.text;
    EXPECT_EQ(c.Size(), k.n);
    EXPECT_EQ(c.HasNormals(), k.normals) << k.text;
    EXPECT_EQ(c.HasColours(), k.colours) << k.text;
    EXPECT_EQ(int(c.Fields().size()), k.fields) << k.text;
    EXPECT_NO_THROW(c.CheckSizes());
  }
}

TEST(XyzIo, Degenerate_BadLinesAndFilesNameTheProblem) {
  const struct {
    std::string text;
    const char* expected;
  } cases[] = {
      {"1 2\n", "XYZ: line 1: fewer than three columns"},
      {"1 2 3\n\n1 2 3 4\n", "XYZ: line 3: 4 columns, expected 3"},
      {"1 2 3\n1 2 zz\n", "XYZ: line 2: 'zz' is not a number"},
      {"# x y z x\n1 2 3 4\n", "named twice"},
      {"# x y z a\x01"
       "b\n1 2 3 4\n",
       "bad column name"},
      {"# x y z\n1 2 3e999\n", "is not a number"},
  };
  for (const auto& k : cases) {
    CPointCloud c;
    EXPECT_NE(ReadError(k.text, c).find(k.expected), std::string::npos) << k.text;
  }
  CPointCloud c;
  try {
    ReadCloudFile("/nonexistent/dir/a.ply", c);
    ADD_FAILURE();
  } catch (const ECloudFileError& e) {
    EXPECT_EQ(std::string(e.what()).rfind("/nonexistent/dir/a.ply: cannot open", 0), 0u)
        << e.what();
  }
  EXPECT_THROW(ReadCloudFile("a.las", c), ECloudFileError);
  EXPECT_THROW(WriteCloudFile("a", c), ECloudFileError);
}
