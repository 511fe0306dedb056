#pragma once

#include <vector>

#include "kyt_host/export.h"

// Poses as robots tell them, and as the rest of the world wants them. A pose is X, Y, Z in mm and A, B, C in degrees:
// the turn about the fixed axis X by A, then about Y by B, then about Z by C (which is the turn about Z by C, then
// about the new Y by B, then about the new X by A). Virtual controller: that is how it tells orientations. The
// conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A pose as a matrix.
/// @param pose    6 values, or more, of which the first 6 count
/// @param matrix  receives 16 values, row by row: the rotation, the place in the last column, and 0 0 0 1
/// @return 0; -3 fewer than 6 values, or one that is not finite
KYT_HOST_API int pose_to_matrix(const std::vector<double>& pose, std::vector<double>& matrix);

/// The pose of a matrix: B within -90..90, A and C within -180..180. Where B is upright, only the sum or the difference
/// of A and C is known, and C is 0.
/// @param matrix  16 values as above, or the first 12 of them; the rotation may be off by rounding
/// @param pose    receives 6 values
/// @return 0; -3 fewer than 12 values, one that is not finite, or no rotation
KYT_HOST_API int pose_from_matrix(const std::vector<double>& matrix, std::vector<double>& pose);

/// The orientation of a pose as a quaternion.
/// @param quaternion  receives w, x, y, z, of length 1 and with w not below 0
/// @return as `pose_to_matrix`
KYT_HOST_API int pose_to_quaternion(const std::vector<double>& pose, std::vector<double>& quaternion);

/// The orientation A, B, C of a quaternion.
/// @param quaternion  w, x, y, z, of any length but 0
/// @param angles      receives 3 values, degrees
/// @return 0; -3 fewer than 4 values, one that is not finite, or all 0
KYT_HOST_API int angles_from_quaternion(const std::vector<double>& quaternion, std::vector<double>& angles);

/// How far apart two poses are.
/// @param difference  receives 2 values: mm between the places, and degrees, 0..180, between the orientations
/// @return as `pose_to_matrix`
KYT_HOST_API int pose_difference(const std::vector<double>& pose, const std::vector<double>& other,
                                 std::vector<double>& difference);
