// SPDX-License-Identifier: MIT
// A software point splatter for previews without a display: orthographic view, a round
// splat per point, a depth buffer, optional shading by the normals.
#pragma once

#include <qvmath/core/point3d.h>

#include <cstdint>
#include <vector>

namespace qvtool {

struct SplatView {
  /// Direction from the cloud towards the viewer (need not be unit length); the up axis of
  /// the image is +z, or +y when the view is along z.
  double towardViewer[3] = {1.0, -1.3, 0.9};
  int width = 1024, height = 768;
  /// Splat radius in pixels; 0 chooses one from the point count and the image size.
  int radius = 0;
};

/// Renders the finite points `pts` with packed colours `colours` (red in the low byte) into
/// `rgb` (width × height × 3 bytes, rows top to bottom, white background). The cloud's box
/// fills 90 % of the image. Where splats overlap the point nearest the viewer wins (the
/// earlier point on a tie). With `normals` (same size, zero for none) each colour is
/// darkened by the angle between its normal and the view: 0.35 + 0.65·|n·view|.
/// @return the splat radius used.
int RenderSplats(const std::vector<REmath::Point3D>& pts, const std::vector<std::uint32_t>& colours,
                 const std::vector<REmath::Point3D>* normals, const SplatView& view,
                 std::vector<unsigned char>& rgb);

}  // namespace qvtool
