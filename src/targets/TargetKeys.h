// The members of target documents.
#pragma once

namespace BX::targets {

namespace key {
// Both kinds.
inline constexpr auto targetName = "TargetName";
inline constexpr auto targetType = "TargetType";
inline constexpr auto distanceUnit = "NominalShootingDistanceUnit";
inline constexpr auto nominalDistance = "NominalDistance";
inline constexpr auto sizeUnit = "RingGapUnitType";
inline constexpr auto targetWidth = "TargetWidth";
inline constexpr auto targetHeight = "TargetHeight";
inline constexpr auto prismPlaceX = "PrismPlaceX";
inline constexpr auto prismPlaceY = "PrismPlaceY";
inline constexpr auto numberOfPrisms = "NumberOfPrisms";
// Ring targets.
inline constexpr auto ringTargetNumber = "RingTargetNumber";
inline constexpr auto caliberUnit = "CaliberUnit";
inline constexpr auto caliber = "Caliber";
inline constexpr auto ringGaps = "RingsGapsUnit";
inline constexpr auto highestRing = "HighestRing";
inline constexpr auto minimumRing = "MinimumRing";
inline constexpr auto hibMinScore = "HIBMinScore";
inline constexpr auto diameterInnerWhite = "DiameterInnerWhite";
inline constexpr auto diameterBlackArea = "DiameterBlackArea";
inline constexpr auto hitRingGap = "HitRingGap";
inline constexpr auto diameterX = "DiameterX";
inline constexpr auto diameterHighestRing = "DiameterHighestRing";
inline constexpr auto diameterVariable = "DiameterVariableHminus";  // followed by 1 to 11
// Silhouette targets.
inline constexpr auto silhouetteTargetNumber = "SilhouetteTargetNumber";
inline constexpr auto bitmap = "SilhouetteTarget";
}  // namespace key

// Texts that are compared exactly. The short ones are understood; the long ones are written.
namespace text {
inline constexpr auto ring = "RING";
inline constexpr auto silhouette = "SILHOUETTE";
inline constexpr auto m = "m";
inline constexpr auto meters = "Meters";
inline constexpr auto yards = "Yards";
inline constexpr auto mm = "mm";
inline constexpr auto millimeters = "Millimeters";
inline constexpr auto inches = "Inches";
inline constexpr auto fixed = "Fixed";
inline constexpr auto variable = "Variable";
}  // namespace text

}  // namespace BX::targets
