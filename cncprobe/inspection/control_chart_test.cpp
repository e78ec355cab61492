#include "cncprobe/inspection/control_chart.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

// Limits with centre 0 and sigma exactly 1: the series below are written in sigmas.
kptControlLimits unit_limits() { return kptControlChart::frozen(50, 0.0, kptMovingRangeD2); }

struct RuleCase {
  const char* name;
  std::vector<double> z;
  int rule;  // 0: nothing may fire
  std::size_t run;
  bool moving_range;
};

TEST(ControlChart, EachRuleFiresAloneAtTheRunThatCompletesIt) {
  const std::vector<double> alternating14 = {0.2,  -0.2, 0.3,  -0.3, 0.2,  -0.2, 0.3,
                                             -0.3, 0.2,  -0.2, 0.3,  -0.3, 0.2,  -0.2};
  std::vector<double> alternating13(alternating14.begin(), alternating14.end() - 1);
  std::vector<double> within15, within_broken, outside8;
  for (int i = 0; i < 15; ++i) within15.push_back(std::vector<double>{0.5, 0.6, -0.5, -0.6}[i % 4]);
  within_broken = within15;
  within_broken[7] = 1.2;
  for (int i = 0; i < 8; ++i) outside8.push_back(std::vector<double>{1.5, 1.6, -1.5, -1.6}[i % 4]);
  std::vector<double> outside_broken = outside8;
  outside_broken[4] = 0.9;

  const std::vector<RuleCase> cases = {
      {"beyond 3 sigma", {0.5, -0.5, 0.5, 3.5}, 1, 3, false},
      {"at 3 sigma", {0.5, -0.5, 0.5, 3.0}, 0, 0, false},
      {"moving range jump", {0.0, 3.0, -1.0}, 1, 2, true},
      {"moving range within", {0.0, 2.0, -1.5}, 0, 0, false},
      {"nine on one side", {0.2, 0.4, 0.2, 0.4, 0.2, 0.4, 0.2, 0.4, 0.2}, 2, 8, false},
      {"nine broken by the centre", {0.2, 0.4, 0.2, 0.4, 0.0, 0.4, 0.2, 0.4, 0.2}, 0, 0, false},
      {"six rising", {-0.5, -0.3, -0.1, 0.1, 0.3, 0.5}, 3, 5, false},
      {"six falling", {0.5, 0.3, 0.1, -0.1, -0.3, -0.5}, 3, 5, false},
      {"six with a repeat", {-0.5, -0.3, -0.1, -0.1, 0.3, 0.5}, 0, 0, false},
      {"fourteen alternating", alternating14, 4, 13, false},
      {"thirteen alternating", alternating13, 0, 0, false},
      {"two of three beyond 2", {0.0, 2.5, 0.5, 2.5}, 5, 3, false},
      {"two of three on both sides", {0.0, 2.5, 0.5, -2.5}, 0, 0, false},
      {"four of five beyond 1", {0.0, 1.5, 1.5, 0.5, 1.5, 1.5}, 6, 5, false},
      {"four of five on both sides", {0.0, 1.5, 1.5, 0.5, 1.5, -1.5}, 0, 0, false},
      {"fifteen within 1", within15, 7, 14, false},
      {"fifteen with one outside", within_broken, 0, 0, false},
      {"eight outside 1 on both sides", outside8, 8, 7, false},
      {"eight with one inside", outside_broken, 0, 0, false},
  };
  for (const RuleCase& c : cases) {
    const std::vector<kptRuleViolation> found = kptControlChart::violations(c.z, unit_limits());
    if (c.rule == 0) {
      EXPECT_TRUE(found.empty()) << c.name << ": rule " << found.front().rule << " at run "
                                 << found.front().run;
      continue;
    }
    ASSERT_EQ(found.size(), 1u) << c.name;
    EXPECT_EQ(found[0].rule, c.rule) << c.name;
    EXPECT_EQ(found[0].run, c.run) << c.name;
    EXPECT_EQ(found[0].moving_range, c.moving_range) << c.name;
    // The same series with its rule left out of the set fires nothing.
    EXPECT_TRUE(
        kptControlChart::violations(c.z, unit_limits(), kptAllRunRules & ~kpt_run_rule(c.rule))
            .empty())
        << c.name;
  }
}

TEST(ControlChart, MissingRunsAreSkippedAndEarlierRunsOnlyCompletePatterns) {
  const double gap = std::nan("");
  // Six rising with a run without a value among them: still six in a row, completed at run 6.
  const std::vector<double> z = {-0.5, -0.3, gap, -0.1, 0.1, 0.3, 0.5};
  std::vector<kptRuleViolation> found = kptControlChart::violations(z, unit_limits());
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].run, 6u);
  // Judging from run 6 on still sees the five before it; judging only after it sees nothing.
  EXPECT_EQ(kptControlChart::violations(z, unit_limits(), kptAllRunRules, 6).size(), 1u);
  EXPECT_TRUE(kptControlChart::violations(z, unit_limits(), kptAllRunRules, 7).empty());
}

TEST(ControlChart, BaselineLimitsAndStatesByHand) {
  // Moving ranges 0.02, 0.01, 0.03: MR-bar 0.02, sigma 0.02 / 1.128; centre 0.015.
  const std::vector<double> values = {0.0, 0.02, 0.01, 0.04, std::nan("")};
  const kptControlLimits l = kptControlChart::baseline(values);
  EXPECT_EQ(l.state, kptControlLimitsSet);
  EXPECT_EQ(l.n, 4u);
  EXPECT_NEAR(l.centre, 0.0175, 1e-15);
  EXPECT_NEAR(l.moving_range, 0.02, 1e-15);
  EXPECT_NEAR(l.sigma, 0.02 / 1.128, 1e-15);
  EXPECT_NEAR(l.upper - l.centre, 2.6596 * 0.02, 1e-5);  // the usual 2.66 MR-bar
  EXPECT_NEAR(l.moving_range_upper, 3.267 * 0.02, 1e-15);

  EXPECT_EQ(kptControlChart::baseline(std::vector<double>{0.01}).state, kptControlTooFewValues);
  const kptControlLimits flat = kptControlChart::baseline(std::vector<double>{0.01, 0.01, 0.01});
  EXPECT_EQ(flat.state, kptControlNoSpread);
  // No limits, so no rule fires, however far later runs go.
  const std::vector<double> later = {0.01, 0.01, 0.01, 5.0, 5.0, 5.0};
  EXPECT_TRUE(kptControlChart::violations(later, flat).empty());
}

TEST(ControlChart, FrozenLimitsDoNotMoveWithLaterRuns) {
  std::vector<double> runs = {0.010, 0.012, 0.009, 0.011, 0.010, 0.013, 0.008};
  const kptControlLimits frozen = kptControlChart::baseline(std::span(runs).first(5));
  const kptSeriesStatistics before = kptControlChart::analyse(runs, {-0.05, 0.05}, frozen);
  for (int i = 0; i < 10; ++i) runs.push_back(0.03 + 0.001 * i);  // a drift after the baseline
  const kptSeriesStatistics after =
      kptControlChart::analyse(runs, {-0.05, 0.05}, frozen, kptAllRunRules, 5);
  EXPECT_EQ(after.limits.centre, before.limits.centre);
  EXPECT_EQ(after.limits.upper, before.limits.upper);
  EXPECT_EQ(after.cpk, before.cpk);  // capability is the baseline's
  EXPECT_NE(after.ppk, before.ppk);  // performance takes every run
  EXPECT_FALSE(after.violations.empty());
  for (const kptRuleViolation& v : after.violations) EXPECT_GE(v.run, 5u);
}

TEST(ControlChart, IndicesByHand) {
  // A steady wear: 0, 0.002, ..., 0.018. MR-bar 0.002, sigma within 0.002 / 1.128; the sample
  // standard deviation sqrt(sum((x - 0.009)^2) / 9) = 0.002 sqrt(55/6).
  std::vector<double> drift;
  for (int i = 0; i < 10; ++i) drift.push_back(0.002 * i);
  const kptSeriesStatistics st =
      kptControlChart::analyse(drift, {-0.05, 0.05}, kptControlChart::baseline(drift));
  const double within = 0.002 / 1.128, s = 0.002 * std::sqrt(55.0 / 6.0);
  EXPECT_NEAR(*st.standard_deviation, s, 1e-15);
  EXPECT_NEAR(*st.cp, 0.1 / (6 * within), 1e-9);
  EXPECT_NEAR(*st.cpk, (0.05 - 0.009) / (3 * within), 1e-9);
  EXPECT_NEAR(*st.pp, 0.1 / (6 * s), 1e-9);
  EXPECT_NEAR(*st.ppk, (0.05 - 0.009) / (3 * s), 1e-9);
  EXPECT_GT(*st.cpk, *st.ppk);  // a trend inflates s, not the moving ranges
  EXPECT_TRUE(st.capability_preliminary);
  const double half = 1.96 * std::sqrt(1.0 / 90 + *st.cpk * *st.cpk / 18);
  EXPECT_NEAR(*st.cpk_low, *st.cpk - half, 1e-12);
  EXPECT_NEAR(*st.cpk_high, *st.cpk + half, 1e-12);
  EXPECT_FALSE(st.one_sided);

  // A radial offset: only the upper indices.
  const kptSeriesStatistics offset =
      kptControlChart::analyse(drift, {std::nullopt, 0.05}, kptControlChart::baseline(drift));
  EXPECT_TRUE(offset.one_sided);
  EXPECT_FALSE(offset.cp);
  EXPECT_FALSE(offset.pp);
  EXPECT_NEAR(*offset.cpk, (0.05 - 0.009) / (3 * within), 1e-9);

  // Constant values, one value, no tolerance: no index at all.
  const std::vector<double> constant = {0.1, 0.1, 0.1};  // a mean of 0.1 + 1.4e-17
  const std::vector<double> one = {0.01};
  for (const auto& [values, tolerance] :
       {std::pair{constant, kptCheckLimits{-0.05, 0.05}},
        std::pair{one, kptCheckLimits{-0.05, 0.05}}, std::pair{drift, kptCheckLimits{}}}) {
    const kptSeriesStatistics none =
        kptControlChart::analyse(values, tolerance, kptControlChart::baseline(values));
    EXPECT_FALSE(none.cp || none.cpk || none.pp || none.ppk || none.cpk_low);
  }
}

TEST(ControlChart, BissellIntervalMatchesThePublishedExample) {
  // A Cpk of 1.33 from ten runs: about 0.68 to 1.98. sigma = 1 and a centre 3.99 under the upper
  // limit give exactly that Cpk.
  const kptSeriesStatistics st = kptControlChart::analyse(
      std::vector<double>{0.0}, {std::nullopt, 3.99}, kptControlChart::frozen(10, 0.0, 1.128));
  EXPECT_NEAR(*st.cpk, 1.33, 1e-12);
  EXPECT_NEAR(*st.cpk_low, 0.68, 0.005);
  EXPECT_NEAR(*st.cpk_high, 1.98, 0.005);
}

TEST(ControlChart, RuleOneOnIndependentNormalValuesFiresAboutOnceInThreeHundredAndSeventy) {
  // 100 series of 1,000 runs: 270 expected beyond 3 sigma on the individuals chart; sigma is
  // estimated from the moving ranges of each series, as it would be at the machine.
  std::mt19937 random(24);
  std::normal_distribution<double> normal(0.0, 0.01);
  std::size_t fired = 0, runs = 0;
  for (int series = 0; series < 100; ++series) {
    std::vector<double> values(1000);
    for (double& v : values) v = normal(random);
    for (const kptRuleViolation& v :
         kptControlChart::violations(values, kptControlChart::baseline(values), kpt_run_rule(1))) {
      if (!v.moving_range) ++fired;
    }
    runs += values.size();
  }
  const double share = static_cast<double>(fired) / static_cast<double>(runs);
  EXPECT_GT(share, 0.0018);
  EXPECT_LT(share, 0.0038);
}

TEST(ControlChart, RuleListsAreParsed) {
  const std::vector<std::pair<std::string, std::optional<kptRunRules>>> cases = {
      {"1,2,3,5", kptRunRules{0b10111}},
      {"8", kptRunRules{0x80}},
      {" 1, 8 ", kptRunRules{0x81}},
      {"1,2,3,4,5,6,7,8", kptAllRunRules},
      {"", std::nullopt},
      {"9", std::nullopt},
      {"0", std::nullopt},
      {"1,,2", std::nullopt},
      {"12", std::nullopt},
      {"1;2", std::nullopt},
      {"1,", std::nullopt},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(kptControlChart::parse_rules(text), expected) << '"' << text << '"';
  }
}

}  // namespace
