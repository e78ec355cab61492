#include "cncprobe/inspection/trend_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

kptFeatureCheck check(kptQuantity quantity, std::optional<double> tolerance, bool true_position) {
  kptFeatureCheck c{};
  c.quantity = quantity;
  c.tolerance = tolerance;
  c.true_position = true_position;
  c.verdict = tolerance ? kptVerdictIn : kptVerdictNotToleranced;
  return c;
}

TEST(TrendStatistics, LimitsFollowTheToleranceAndTheZoneConvention) {
  struct Case {
    kptQuantity quantity;
    std::optional<double> tolerance;
    bool true_position;
    kptZoneConvention convention;
    std::optional<double> lower, upper;
  };
  const std::vector<Case> cases = {
      {kptQuantityDiameter, 0.05, false, kptZoneDiametral, -0.05, 0.05},
      {kptQuantityAngle, 0.5, false, kptZoneRadial, -0.5, 0.5},  // plain: the convention is moot
      {kptQuantityCentreOffset, 0.1, true, kptZoneDiametral, std::nullopt, 0.05},
      {kptQuantityCentreOffset, 0.1, true, kptZoneRadial, std::nullopt, 0.1},
      {kptQuantityCornerOffset, 0.2, true, kptZoneDiametral, std::nullopt, 0.1},
      {kptQuantityMiddle, 0.1, true, kptZoneDiametral, -0.05, 0.05},
      {kptQuantityMiddle, 0.1, true, kptZoneRadial, -0.1, 0.1},
      {kptQuantityLength, std::nullopt, false, kptZoneDiametral, std::nullopt, std::nullopt},
  };
  for (const Case& c : cases) {
    const kptTrendLimits limits = kptTrendStatistics::limits_of(
        check(c.quantity, c.tolerance, c.true_position), c.convention);
    EXPECT_EQ(limits.lower, c.lower) << kpt_quantity_name(c.quantity);
    EXPECT_EQ(limits.upper, c.upper) << kpt_quantity_name(c.quantity);
  }
}

TEST(TrendStatistics, PointLimitsAreShiftedByTheOffset) {
  const mtrInspectionPoint point(giPoint3(0, 0, 0), giUnitVec3(giVector3(0, 0, 1)), 0.02, 0.05,
                                 -0.03, utString("P1"));
  const kptTrendLimits limits = kptTrendStatistics::limits_of(point);
  EXPECT_DOUBLE_EQ(*limits.lower, -0.01);
  EXPECT_DOUBLE_EQ(*limits.upper, 0.07);
}

TEST(TrendStatistics, SampleStatisticsAndCapability) {
  // mean 0.01, sample variance ((0.01^2)*2 + 0)/2 = 1e-4, s = 0.01.
  const std::vector<double> values = {0.0, 0.01, 0.02, std::nan("")};
  const kptTrendSummary s = kptTrendStatistics::of(values, {-0.05, 0.05});
  EXPECT_EQ(s.n, 3u);
  EXPECT_NEAR(*s.mean, 0.01, 1e-15);
  EXPECT_NEAR(*s.standard_deviation, 0.01, 1e-15);
  EXPECT_DOUBLE_EQ(*s.min, 0.0);
  EXPECT_DOUBLE_EQ(*s.max, 0.02);
  EXPECT_NEAR(*s.cp, 0.1 / 0.06, 1e-12);
  EXPECT_NEAR(*s.cpk, 0.04 / 0.03, 1e-12);  // the upper limit is nearer the mean

  const kptTrendSummary one_sided = kptTrendStatistics::of(values, {std::nullopt, 0.05});
  EXPECT_FALSE(one_sided.cp);
  EXPECT_NEAR(*one_sided.cpk, 0.04 / 0.03, 1e-12);

  const kptTrendSummary untoleranced = kptTrendStatistics::of(values, {});
  EXPECT_FALSE(untoleranced.cp);
  EXPECT_FALSE(untoleranced.cpk);
}

TEST(TrendStatistics, TooFewOrEqualValuesGiveNoSpreadNorCapability) {
  const std::vector<double> one = {0.03};
  const kptTrendSummary a = kptTrendStatistics::of(one, {-0.05, 0.05});
  EXPECT_EQ(a.n, 1u);
  EXPECT_DOUBLE_EQ(*a.mean, 0.03);
  EXPECT_FALSE(a.standard_deviation);
  EXPECT_FALSE(a.cpk);

  const std::vector<double> same = {0.03, 0.03, 0.03};
  const kptTrendSummary b = kptTrendStatistics::of(same, {-0.05, 0.05});
  EXPECT_DOUBLE_EQ(*b.standard_deviation, 0.0);
  EXPECT_FALSE(b.cp);

  const kptTrendSummary none = kptTrendStatistics::of(std::vector<double>{}, {-0.05, 0.05});
  EXPECT_EQ(none.n, 0u);
  EXPECT_FALSE(none.mean);
}

}  // namespace
