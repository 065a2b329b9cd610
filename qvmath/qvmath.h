// SPDX-License-Identifier: MIT
// The umbrella header of QVmath: including it declares the whole public API.
#pragma once

// Portable system layer
#include <qvmath/platform/auto_reset_event.h>
#include <qvmath/platform/cpu_config.h>
#include <qvmath/platform/crit_section.h>
#include <qvmath/platform/export.h>
#include <qvmath/platform/korva_exception.h>
#include <qvmath/platform/temp_file.h>

// Points, colours, vectors, matrices, dense solvers
#include <qvmath/core/bicgstab.h>
#include <qvmath/core/colour.h>
#include <qvmath/core/eigen_sa.h>
#include <qvmath/core/element_types.h>
#include <qvmath/core/functor.h>
#include <qvmath/core/gauss_jordan.h>
#include <qvmath/core/gen_right_eigen.h>
#include <qvmath/core/hpoint3d.h>
#include <qvmath/core/matrix.h>
#include <qvmath/core/point3d.h>
#include <qvmath/core/rotation_matrix.h>
#include <qvmath/core/rounding.h>
#include <qvmath/core/solve_mat.h>
#include <qvmath/core/sparse_vector.h>
#include <qvmath/core/tridiag_eigen.h>
#include <qvmath/core/vector.h>

// Vertex-position linear systems
#include <qvmath/linsys/eq_sys_result_reciever.h>
#include <qvmath/linsys/lin_sys_solver_mkl.h>
#include <qvmath/linsys/vertex_linear_combination.h>
#include <qvmath/linsys/vertex_monom.h>
#include <qvmath/linsys/vertex_pos_informer.h>
#include <qvmath/linsys/vertex_pos_linear_system.h>

// Geometry kernel
#include <qvmath/geometry/arc2d.h>
#include <qvmath/geometry/arrange_points.h>
#include <qvmath/geometry/axis_rotation.h>
#include <qvmath/geometry/circumscribe_circle.h>
#include <qvmath/geometry/contour_corners.h>
#include <qvmath/geometry/contour_normal.h>
#include <qvmath/geometry/contour_self_intersections.h>
#include <qvmath/geometry/dist_batch.h>
#include <qvmath/geometry/dist_point_line.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/dist_point_triangle.h>
#include <qvmath/geometry/euler_angles.h>
#include <qvmath/geometry/intersect_triang_line.h>
#include <qvmath/geometry/linear_transform.h>
#include <qvmath/geometry/local_frame.h>
#include <qvmath/geometry/point_in_contour.h>
#include <qvmath/geometry/point_net.h>
#include <qvmath/geometry/point_to_curve_projector.h>
#include <qvmath/geometry/point_to_face_projector.h>
#include <qvmath/geometry/point_to_geom_obj_projector.h>
#include <qvmath/geometry/polygonizer.h>
#include <qvmath/geometry/projector_to_polyline.h>
#include <qvmath/geometry/projector_triangle.h>
#include <qvmath/geometry/projectors_join.h>
#include <qvmath/geometry/rotation_matrix.h>
#include <qvmath/geometry/triangle_bulge.h>
#include <qvmath/geometry/two_lines.h>
#include <qvmath/geometry/vector_angles.h>

// Surface analysis: frames and quadrics, normals and curvatures
#include <qvmath/analysis/curvatures.h>
#include <qvmath/analysis/model_sizer.h>
#include <qvmath/analysis/normal_estimation.h>
#include <qvmath/analysis/ortho_norm_basis.h>
#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/analysis/quadric_curvature.h>
#include <qvmath/analysis/quadric_normal.h>
#include <qvmath/analysis/signed_curvature.h>
// Surface and curve analysis: planes, polyline smoothing, robust regression
#include <qvmath/analysis/coord3d_refs.h>
#include <qvmath/analysis/plane_appoximator.h>
#include <qvmath/analysis/plane_equation.h>
#include <qvmath/analysis/plane_fit.h>
#include <qvmath/analysis/plane_limits.h>
#include <qvmath/analysis/plane_selection_constrained.h>
#include <qvmath/analysis/polyline_smooth.h>
#include <qvmath/analysis/polyline_smooth_params.h>
#include <qvmath/analysis/regression_analysis_task.h>
#include <qvmath/analysis/robust_regression_solver.h>

// Optimisation, rounding and root finding
#include <qvmath/optim/brent_zero.h>
#include <qvmath/optim/min_max_optimizer.h>
#include <qvmath/optim/min_max_params.h>
#include <qvmath/optim/min_max_task.h>
#include <qvmath/optim/minpack.h>
#include <qvmath/optim/rounding.h>

// Infrastructure: progress, block processing, streams, external vectors, heap, log sinks
#include <qvmath/infra/binary_stream.h>
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/block_structure.h>
#include <qvmath/infra/block_worker.h>
#include <qvmath/infra/component_filter.h>
#include <qvmath/infra/delta_state_logger.h>
#include <qvmath/infra/extern_vector.h>
#include <qvmath/infra/file_errors.h>
#include <qvmath/infra/fp_heap.h>
#include <qvmath/infra/functor.h>
#include <qvmath/infra/graph_object.h>
#include <qvmath/infra/graph_object_selector.h>
#include <qvmath/infra/inner_header_wrapper.h>
#include <qvmath/infra/log_sinks.h>
#include <qvmath/infra/multi_phase_manager.h>
#include <qvmath/infra/prgcnt_blocks_threaded.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/infra/save_load_log.h>
#include <qvmath/infra/skip_till_the_end.h>
#include <qvmath/infra/sub_phase_callback_replacer.h>

// Point clouds: the cloud, its files, the neighbour index and the whole-cloud operations
#include <qvmath/cloud/cloud_curvature.h>
#include <qvmath/cloud/cloud_deviation.h>
#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/cloud_reconstruct.h>
#include <qvmath/cloud/cloud_samples.h>
#include <qvmath/cloud/ply_io.h>
#include <qvmath/cloud/point_cloud.h>
#include <qvmath/cloud/triangle_mesh.h>
#include <qvmath/cloud/xyz_io.h>
