// QifChecker: what a QIF results document must get right that its schema does not check, and
// that it says the same as the tool's JSON document of the same file.
//
// The schema checks shapes and types; it lets through an idMax below the ids, an n= that miscounts
// its list, a reference to a feature measurement of another feature, a PASS beside a value out of
// tolerance, an overall PASS beside a failed characteristic and a normal that is no unit vector.
//
//   const std::vector<std::string> problems = check_qif(document, json_of_the_same_file);
//   EXPECT_TRUE(problems.empty());
#pragma once

#include <libxml/tree.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace qifcheck {

// Which inspection points the document was asked to carry as features (--qif-points).
enum class Points { kAll, kOutside, kNone };

// Every problem found, one line each; empty when the document is right. `json` is the
// `extract --format json` document of the same file and options, or null to skip the comparison.
std::vector<std::string> check_qif(xmlDocPtr document, const nlohmann::json& json,
                                   Points points = Points::kAll);

}  // namespace qifcheck
