// SPDX-License-Identifier: MIT
// Accuracy against the truth that `qvmath sample` stores with its scans (fields true_nx,
// true_ny, true_nz, true_k1, true_k2, true_face), so that the demo can show how close the
// results are. Inputs without those fields have no truth and get no accuracy.
#pragma once

#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/point_cloud.h>

#include <string>
#include <vector>

#include "json.h"

namespace qvtool {

/// Names of the truth fields.
extern const char* const kTrueNormal[3];
extern const char* const kTrueK1;
extern const char* const kTrueK2;
extern const char* const kTrueFace;

/// Angle between the normals and the true ones over the valid points: median and 95th
/// percentile in degrees, unoriented (the smaller of the two sides), and the percentage of
/// normals on the wrong side. Null when the cloud holds no true normals. `line` receives a
/// one-line summary.
Json NormalAccuracy(const REmath::CPointCloud& cloud, const std::vector<REmath::Point3D>& normals,
                    const std::vector<unsigned char>& valid, std::string& line);

/// Median relative error of k1 and median absolute error of k2 over the valid points.
Json CurvatureAccuracy(const REmath::CPointCloud& cloud, const std::vector<float>& k1,
                       const std::vector<float>& k2, const std::vector<unsigned char>& valid,
                       std::string& line);

/// For the box: the number of true faces, and per plane the angle between its normal and
/// the true normal of the face most of its points come from (the largest reported), and
/// the percentage of points labelled with a plane whose face is theirs.
Json PlaneAccuracy(const REmath::CPointCloud& cloud, const REmath::CCloudPlanes& planes,
                   std::string& line);

}  // namespace qvtool
