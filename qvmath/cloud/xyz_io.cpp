// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/detail/field_types.h>
#include <qvmath/cloud/detail/file_bytes.h>
#include <qvmath/cloud/xyz_io.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace REmath {

namespace {

[[noreturn]] void Fail(std::size_t line, const std::string& what) {
  throw ECloudFileError("XYZ: line " + std::to_string(line) + ": " + what);
}

bool IsSep(char c) { return c == ' ' || c == '\t' || c == ',' || c == '\r'; }

// Splits [b, e) into tokens at separators.
void Tokens(const char* b, const char* e, std::vector<std::pair<const char*, const char*>>& t) {
  t.clear();
  while (b < e) {
    while (b < e && IsSep(*b)) ++b;
    const char* s = b;
    while (b < e && !IsSep(*b)) ++b;
    if (b > s) t.emplace_back(s, b);
  }
}

using detail::kBlue, detail::kField, detail::kGreen, detail::kNx, detail::kNy, detail::kNz,
    detail::kRed, detail::kX, detail::kY, detail::kZ;

// Column roles from names, as the PLY reader assigns them.
void SlotsFromNames(const std::vector<std::string>& names, std::size_t line,
                    std::vector<int>& slot) {
  const std::size_t n = names.size();
  slot.assign(n, kField);
  for (std::size_t i = 0; i < n; ++i) {
    if (!detail::IsWritableFieldName(names[i]) || names[i].find('#') != std::string::npos)
      Fail(line, "bad column name '" + names[i] + "'");
    for (std::size_t j = 0; j < i; ++j)
      if (names[i] == names[j]) Fail(line, "column " + names[i] + " named twice");
  }
  if (n < 3 || names[0] != "x" || names[1] != "y" || names[2] != "z")
    Fail(line, "header must start with x y z");
  slot[0] = kX;
  slot[1] = kY;
  slot[2] = kZ;
  auto find = [&](const char* s) {
    for (std::size_t i = 3; i < n; ++i)
      if (names[i] == s) return int(i);
    return -1;
  };
  static const char* const kGroups[][3] = {{"nx", "ny", "nz"},
                                           {"normal_x", "normal_y", "normal_z"},
                                           {"red", "green", "blue"},
                                           {"diffuse_red", "diffuse_green", "diffuse_blue"},
                                           {"r", "g", "b"}};
  bool normals = false, colours = false;
  for (int g = 0; g < 5; ++g) {
    const bool isNormal = g < 2;
    if (isNormal ? normals : colours) continue;
    const int a = find(kGroups[g][0]), b = find(kGroups[g][1]), c = find(kGroups[g][2]);
    if (a < 0 || b < 0 || c < 0) continue;
    slot[std::size_t(a)] = isNormal ? kNx : kRed;
    slot[std::size_t(b)] = isNormal ? kNy : kGreen;
    slot[std::size_t(c)] = isNormal ? kNz : kBlue;
    (isNormal ? normals : colours) = true;
  }
}

}  // namespace

void ReadXyzCloud(const char* data, std::size_t size, CPointCloud& cloud) {
  if (!data && size) throw ECloudFileError("XYZ: null buffer");
  cloud = CPointCloud();
  std::vector<std::string> names;
  std::vector<int> slot;
  std::vector<int> fieldOf;
  std::vector<std::pair<const char*, const char*>> tok;
  bool haveColumns = false, colours = false, normals = false;
  std::size_t lineNo = 0;
  const char* p = data;
  const char* end = data + size;
  while (p < end) {
    const char* e = p;
    while (e < end && *e != '\n') ++e;
    ++lineNo;
    const char* b = p;
    p = e < end ? e + 1 : e;
    while (b < e && IsSep(*b)) ++b;
    if (b == e) continue;
    if (*b == '#') {
      if (haveColumns) continue;
      Tokens(b + 1, e, tok);
      if (tok.size() >= 3 && std::string(tok[0].first, tok[0].second) == "x") {
        names.clear();
        for (const auto& t : tok) names.emplace_back(t.first, t.second);
        SlotsFromNames(names, lineNo, slot);
        haveColumns = true;
      }
      continue;
    }
    Tokens(b, e, tok);
    if (!haveColumns) {
      if (tok.size() < 3) Fail(lineNo, "fewer than three columns");
      names = {"x", "y", "z"};
      if (tok.size() == 6) {
        names.insert(names.end(), {"nx", "ny", "nz"});
      } else {
        for (std::size_t i = 3; i < tok.size(); ++i) names.push_back("field" + std::to_string(i));
      }
      SlotsFromNames(names, lineNo, slot);
      haveColumns = true;
    }
    if (fieldOf.empty()) {
      fieldOf.assign(slot.size(), -1);
      for (std::size_t i = 0; i < slot.size(); ++i) {
        if (slot[i] == kNx) normals = true;
        if (slot[i] == kRed) colours = true;
        if (slot[i] != kField) continue;
        fieldOf[i] = int(cloud.Fields().size());
        cloud.Fields().push_back(CCloudScalarField{names[i], ECloudFieldType::Float32, {}});
      }
    }
    if (tok.size() != slot.size())
      Fail(lineNo,
           std::to_string(tok.size()) + " columns, expected " + std::to_string(slot.size()));
    Point3D pos, nrm;
    std::uint32_t rgb = 0;
    for (std::size_t i = 0; i < tok.size(); ++i) {
      double v;
      if (!detail::ParseNumber(tok[i].first, tok[i].second, v))
        Fail(lineNo, "'" + std::string(tok[i].first, tok[i].second) + "' is not a number");
      if (!detail::StoreSlot(slot[i], v, pos, nrm, rgb))
        cloud.Fields()[std::size_t(fieldOf[i])].values.push_back(float(v));
    }
    cloud.Positions().push_back(pos);
    if (normals) cloud.Normals().push_back(nrm);
    if (colours) cloud.Colours().push_back(rgb);
  }
}

void ReadXyzCloudFile(const std::string& path, CPointCloud& cloud) {
  detail::ReadWithPath(path, [&](const std::vector<unsigned char>& bytes) {
    ReadXyzCloud(reinterpret_cast<const char*>(bytes.data()), bytes.size(), cloud);
  });
}

void WriteXyzCloud(const CPointCloud& cloud, std::string& out) {
  cloud.CheckSizes();
  for (const auto& f : cloud.Fields())
    if (!detail::IsWritableFieldName(f.name) || f.name.find_first_of(",#") != std::string::npos)
      throw std::invalid_argument("XYZ: field name '" + f.name + "' cannot be written");
  out = "# x y z";
  if (cloud.HasNormals()) out += " nx ny nz";
  if (cloud.HasColours()) out += " red green blue";
  for (const auto& f : cloud.Fields()) out += " " + f.name;
  out += '\n';
  for (int k = 0; k < cloud.Size(); ++k) {
    auto put3 = [&](const Point3D& p) {
      out += ' ';
      detail::AppendFloat(out, p.x());
      out += ' ';
      detail::AppendFloat(out, p.y());
      out += ' ';
      detail::AppendFloat(out, p.z());
    };
    const std::size_t start = out.size();
    put3(cloud.Positions()[std::size_t(k)]);
    out.erase(start, 1);
    if (cloud.HasNormals()) put3(cloud.Normals()[std::size_t(k)]);
    if (cloud.HasColours()) {
      const std::uint32_t c = cloud.Colours()[std::size_t(k)];
      for (int s = 0; s < 24; s += 8) out += ' ' + std::to_string((c >> s) & 0xFF);
    }
    for (const auto& f : cloud.Fields()) {
      out += ' ';
      detail::AppendValue(out, f.values[std::size_t(k)], f.fileType);
    }
    out += '\n';
  }
}

void WriteXyzCloudFile(const std::string& path, const CPointCloud& cloud) {
  std::string text;
  WriteXyzCloud(cloud, text);
  detail::WriteFileBytes(path, reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

}  // namespace REmath
