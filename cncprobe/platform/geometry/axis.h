// Axis values and the tag arguments that pick a constructor of the geometry types.
//
//   giPoint3 p(giOrigin);                          // (0, 0, 0)
//   giAngle a(giAngleDegrees, 90.0);
//   giXform3 r(giXformRotate, a, giAxisZ);         // quarter turn about Z
//   giWorkplane3 w(giWorkplaneWorld);
#pragma once

// An axis as a value. A probed axis from a macro report converts to it by value.
enum gi_Axis : int { gi_AxisX = 0, gi_AxisY = 1, gi_AxisZ = 2 };

// Tag types; callers pass the constant of the same name without the _t.
struct giAxisX_t {};
struct giAxisY_t {};
struct giAxisZ_t {};
struct giOrigin_t {};
struct giWorkplaneWorld_t {};
struct giXformTranslate_t {};
struct giXformRotate_t {};
struct giAngleDegrees_t {};

// Tag: the X axis.
inline constexpr giAxisX_t giAxisX{};
// Tag: the Y axis.
inline constexpr giAxisY_t giAxisY{};
// Tag: the Z axis.
inline constexpr giAxisZ_t giAxisZ{};
// Tag: the origin.
inline constexpr giOrigin_t giOrigin{};
// Tag: the world workplane, origin and axes of the coordinate system itself.
inline constexpr giWorkplaneWorld_t giWorkplaneWorld{};
// Tag: a translation.
inline constexpr giXformTranslate_t giXformTranslate{};
// Tag: a rotation.
inline constexpr giXformRotate_t giXformRotate{};
// Tag: a value given in degrees.
inline constexpr giAngleDegrees_t giAngleDegrees{};
