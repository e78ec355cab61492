// cncprobe extract --format qif, end to end: every sample file's document validates against the
// QIF 3.0 schema set, passes the checks the schema cannot make, and says what the JSON says.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "bench/results_file_generator.h"
#include "tests/qif_checker.h"
#include "tests/tool_runner.h"

namespace {

namespace fs = std::filesystem;
using qifcheck::Points;

constexpr const char* kTime = "2026-11-23T10:15:00Z";

// The schema set, compiled once for the whole program (a tenth of a second each time).
xmlSchemaPtr schema() {
  static xmlSchemaPtr compiled = [] {
    const std::string root = CNCPROBE_QIF_SCHEMA_DIR "/QIFApplications/QIFDocument.xsd";
    xmlSchemaParserCtxtPtr parser = xmlSchemaNewParserCtxt(root.c_str());
    xmlSchemaPtr result = parser ? xmlSchemaParse(parser) : nullptr;
    xmlSchemaFreeParserCtxt(parser);
    return result;
  }();
  return compiled;
}

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

Document parse(const std::string& bytes) {
  return Document(xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "export.qif", nullptr,
                                XML_PARSE_NONET),
                  &xmlFreeDoc);
}

void collect_error(void* context, const xmlError* error) {
  auto* errors = static_cast<std::string*>(context);
  *errors += "line " + std::to_string(error->line) + ": " + (error->message ? error->message : "");
}

// The schema's complaints about the document, empty when it validates.
std::string schema_errors(const std::string& bytes) {
  if (!schema()) return "the schema set did not compile (" CNCPROBE_QIF_SCHEMA_DIR ")";
  const Document document = parse(bytes);
  if (!document) return "not well-formed XML";
  std::string errors;
  xmlSchemaValidCtxtPtr validator = xmlSchemaNewValidCtxt(schema());
  xmlSchemaSetValidStructuredErrors(
      validator, reinterpret_cast<xmlStructuredErrorFunc>(&collect_error), &errors);
  const int outcome = xmlSchemaValidateDoc(validator, document.get());
  xmlSchemaFreeValidCtxt(validator);
  if (outcome != 0 && errors.empty()) errors = "invalid (code " + std::to_string(outcome) + ")";
  return errors;
}

struct Export {
  e2e::ToolRun qif;
  nlohmann::json json;
};

// The QIF document and the JSON document of one file under the same options.
Export export_both(const std::string& file, const std::vector<std::string>& options,
                   const std::string& stdin_path = "/dev/null") {
  std::vector<std::string> qif = {"extract", file, "--format", "qif", "--time", kTime};
  std::vector<std::string> json = {"extract", file, "--format", "json"};
  for (const std::string& option : options) {
    qif.push_back(option);
    if (option.rfind("--qif", 0) != 0 && option != "all" && option != "outside" &&
        option != "none") {
      json.push_back(option);
    }
  }
  Export result{e2e::run_tool(qif, "", 120, stdin_path), nullptr};
  const e2e::ToolRun json_run = e2e::run_tool(json, "", 120, stdin_path);
  result.json = nlohmann::json::parse(json_run.out, nullptr, false);
  return result;
}

struct Case {
  std::string file;
  std::vector<std::string> options;
  Points points = Points::kAll;
};

void expect_valid_and_right(const Case& c, const std::string& stdin_path = "/dev/null") {
  std::string label = c.file;
  for (const std::string& option : c.options) label += " " + option;
  SCOPED_TRACE(label);
  const Export out = export_both(c.file, c.options, stdin_path);
  ASSERT_TRUE(out.qif.exit_code == 0 || out.qif.exit_code == 1) << out.qif.err;
  EXPECT_EQ(schema_errors(out.qif.out), "");
  const Document document = parse(out.qif.out);
  ASSERT_TRUE(document);
  ASSERT_FALSE(out.json.is_discarded());
  for (const std::string& problem : qifcheck::check_qif(document.get(), out.json, c.points)) {
    ADD_FAILURE() << problem;
  }
}

std::vector<std::string> files_below(const std::string& folder,
                                     const std::set<std::string>& extensions) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file() && extensions.count(entry.path().extension().string())) {
      files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

// A results file whose names and labels hold what XML cannot carry or must escape.
std::string hostile_file() {
  return "*** CADFILENAME C:\\jobs\\<odd> & \"quoted\" \x01model.prt ***\n"
         "*** CLDATAFILENAME probe\x7f\xff\xfe.cl ***\n"
         "RESULTSFILE RUN <1> & \x02\xc3\x28\n"
         "START\n"
         "TOOLPATHID 7\n"
         "G800 N1 X0 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\n"
         "G801 N2 X0 Y0 Z0.05 R2\n"
         "TOOLPATHID 8\n"
         "CYCLEDEPTH -5.000\n"
         "FEATURE NO 9 FEATURE NAME <b>&amp; \x01\x1b[31m \xef\xbf\xbe ]]>\n"
         "SIZE D 8.000 ACTUAL 8.030 TOL 0.015 DEV 0.030\n"
         "POSN X 10.000 ACTUAL 10.001 TOL TP 0.050 DEV 0.001\n"
         "POSN Y 20.000 ACTUAL 20.002 TOL TP 0.050 DEV 0.002\n"
         "END\n";
}

TEST(QifExport, EveryFileValidatesAndAgreesWithItsJson) {
  std::vector<Case> cases;
  for (const std::string& file : files_below(CNCPROBE_TEST_DATA_DIR, {".res", ".txt"})) {
    cases.push_back({file, {}});
  }
  for (const std::string& file : files_below(CNCPROBE_EXAMPLES_DIR, {".txt"})) {
    cases.push_back({file, {}});
    cases.push_back({file, {"--units", "in", "--true-position", "radial"}});
  }
  // The generated corpus: every report kind, read in both units.
  e2e::TempDir dir;
  GeneratedResultsFile summary;
  const std::string generated = (dir.path() / "generated.res").string();
  ASSERT_TRUE(write_results_file(generated, 1200, summary));
  cases.push_back({generated, {}});
  cases.push_back({generated, {"--units", "in"}});
  cases.push_back({generated, {"--qif-points", "outside"}, Points::kOutside});
  cases.push_back(
      {generated, {"--qif-points", "none", "--drafting-standard", "asme-y14.5"}, Points::kNone});
  // Names and labels XML must escape or cannot hold, in a file with a hostile name.
  cases.push_back({dir.write("odd <&\"'> \x01 name.res", hostile_file()), {}});
  // No results at all.
  cases.push_back({dir.write("empty.res", ""), {}});
  cases.push_back({dir.write("start_end.res", "START\nEND\n"), {}});
  for (const Case& c : cases) expect_valid_and_right(c);
  // From standard input.
  expect_valid_and_right({"-", {}}, e2e::example("bracket_mm.txt"));
}

// XPath over a document in the QIF namespace (prefix q).
std::vector<xmlNodePtr> select(xmlDocPtr document, const std::string& path) {
  xmlXPathContextPtr context = xmlXPathNewContext(document);
  xmlXPathRegisterNs(context, BAD_CAST "q", BAD_CAST "http://qifstandards.org/xsd/qif3");
  xmlXPathObjectPtr found = xmlXPathEvalExpression(BAD_CAST path.c_str(), context);
  std::vector<xmlNodePtr> nodes;
  if (found && found->nodesetval) {
    for (int i = 0; i < found->nodesetval->nodeNr; ++i)
      nodes.push_back(found->nodesetval->nodeTab[i]);
  }
  xmlXPathFreeObject(found);
  xmlXPathFreeContext(context);
  return nodes;
}

std::vector<std::string> texts(xmlDocPtr document, const std::string& path) {
  std::vector<std::string> out;
  for (xmlNodePtr node : select(document, path)) {
    xmlChar* content = xmlNodeGetContent(node);
    out.emplace_back(reinterpret_cast<const char*>(content));
    xmlFree(content);
  }
  return out;
}

void set_text(xmlNodePtr node, const std::string& text) {
  xmlNodeSetContent(node, BAD_CAST text.c_str());
}

// The checker is only worth something if it fails a document that is wrong in each way it looks
// for; every mutation below validates against the schema or slips past it.
TEST(QifExport, CheckerCatchesEachKindOfBrokenDocument) {
  const Export out = export_both(e2e::example("bracket_mm.txt"), {});
  ASSERT_EQ(out.qif.exit_code, 0) << out.qif.err;
  {
    const Document clean = parse(out.qif.out);
    ASSERT_TRUE(clean);
    ASSERT_EQ(qifcheck::check_qif(clean.get(), out.json), std::vector<std::string>());
  }
  struct Mutation {
    const char* name;
    std::function<void(xmlDocPtr)> apply;
  };
  const auto first = [](xmlDocPtr d, const std::string& path) {
    const std::vector<xmlNodePtr> nodes = select(d, path);
    EXPECT_FALSE(nodes.empty()) << path;
    return nodes.empty() ? nullptr : nodes.front();
  };
  const std::vector<Mutation> mutations = {
      {"a status flipped",
       [&](xmlDocPtr d) {
         set_text(first(d, "//q:DiameterCharacteristicMeasurement/q:Status/*[text()='PASS']"),
                  "FAIL");
       }},
      {"overall PASS beside a FAIL",
       [&](xmlDocPtr d) { set_text(first(d, "//q:InspectionStatusEnum"), "PASS"); }},
      {"a value that differs from the JSON",
       [&](xmlDocPtr d) {
         xmlNodePtr value = first(d, "//q:PointProfileCharacteristicMeasurement/q:Value");
         xmlChar* text = xmlNodeGetContent(value);
         set_text(value, std::string(reinterpret_cast<const char*>(text)) + "1");
         xmlFree(text);
       }},
      {"a child dropped from a counted list",
       [&](xmlDocPtr d) {
         xmlNodePtr item = first(d, "//q:FeatureDefinitions/*[last()]");
         xmlUnlinkNode(item);
         xmlFreeNode(item);
       }},
      {"an id bumped above idMax",
       [&](xmlDocPtr d) {
         xmlSetProp(first(d, "//q:MeasurementResults"), BAD_CAST "id", BAD_CAST "999999");
       }},
      {"a wrong count of points",
       [&](xmlDocPtr d) {
         xmlSetProp(first(d, "//q:MeasuredPointSet"), BAD_CAST "count", BAD_CAST "3");
       }},
      {"a reference to an element of another kind",
       [&](xmlDocPtr d) { set_text(first(d, "//q:MeasuredPointSet/q:MeasurementDeviceId"), "2"); }},
      {"a characteristic naming another feature's measurement",
       [&](xmlDocPtr d) {
         const std::vector<xmlNodePtr> ids =
             select(d, "//q:PointProfileCharacteristicMeasurement/q:FeatureMeasurementIds/q:Id");
         ASSERT_GE(ids.size(), 2U);
         xmlChar* other = xmlNodeGetContent(ids[1]);
         set_text(ids[0], reinterpret_cast<const char*>(other));
         xmlFree(other);
       }},
      {"a normal that is not a unit vector",
       [&](xmlDocPtr d) { set_text(first(d, "//q:PointFeatureNominal/q:Normal"), "0 0 2"); }},
      {"an exponent in a point list",
       [&](xmlDocPtr d) { set_text(first(d, "//q:MeasuredPointSet/q:Deviations"), "1e-3 0 0 0"); }},
      {"a tolerance that no longer gives the status",
       [&](xmlDocPtr d) {
         set_text(first(d, "//q:PositionCharacteristicDefinition/q:ToleranceValue"), "0.000001");
       }},
  };
  for (const Mutation& mutation : mutations) {
    SCOPED_TRACE(mutation.name);
    const Document document = parse(out.qif.out);
    ASSERT_TRUE(document);
    mutation.apply(document.get());
    EXPECT_FALSE(qifcheck::check_qif(document.get(), out.json).empty());
  }
}

// A run of the bracket program with other measured values, or of another program.
std::string bracket_variant(const std::string& from, const std::string& to) {
  std::ifstream in(e2e::example("bracket_mm.txt"), std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

TEST(QifExport, CharacteristicsKeepTheirUuidAcrossRunsOfOneProgram) {
  e2e::TempDir dir;
  const std::string run1 = e2e::example("bracket_mm.txt");
  const std::string run2 = dir.write(
      "run2.txt", bracket_variant("SIZE D 8.000 ACTUAL 8.003", "SIZE D 8.000 ACTUAL 8.009"));
  const std::string other =
      dir.write("other.txt", bracket_variant("bracket_op20_probe.cl", "bracket_op30_probe.cl"));
  const auto uuids = [](const std::string& file, const std::string& path) {
    const e2e::ToolRun run = e2e::run_tool({"extract", file, "--format", "qif", "--time", kTime});
    const Document document = parse(run.out);
    return document ? texts(document.get(), path) : std::vector<std::string>();
  };
  for (const char* path : {"//q:CharacteristicDesignator/q:UUID", "//q:FeatureItems/*/q:UUID"}) {
    SCOPED_TRACE(path);
    const std::vector<std::string> first = uuids(run1, path);
    ASSERT_FALSE(first.empty());
    EXPECT_EQ(std::set<std::string>(first.begin(), first.end()).size(), first.size())
        << "two items share a UUID";
    EXPECT_EQ(uuids(run2, path), first);
    for (const std::string& uuid : uuids(other, path)) {
      EXPECT_EQ(std::count(first.begin(), first.end(), uuid), 0) << uuid;
    }
  }
  // The document itself is another one when the file differs.
  EXPECT_NE(uuids(run1, "/q:QIFDocument/q:QPId"), uuids(run2, "/q:QIFDocument/q:QPId"));
}

TEST(QifExport, SameInputAndTimeGiveTheSameBytes) {
  const std::string file = e2e::example("bracket_mm.txt");
  const std::vector<std::string> args = {"extract", file, "--format", "qif", "--time", kTime};
  const e2e::ToolRun first = e2e::run_tool(args);
  const e2e::ToolRun second = e2e::run_tool(args);
  ASSERT_EQ(first.exit_code, 0);
  EXPECT_EQ(first.out, second.out);
  // Into a file with -o, the same bytes.
  e2e::TempDir dir;
  const std::string target = (dir.path() / "out.qif").string();
  std::vector<std::string> to_file = args;
  to_file.insert(to_file.end(), {"-o", target});
  EXPECT_EQ(e2e::run_tool(to_file).exit_code, 0);
  std::ifstream in(target, std::ios::binary);
  EXPECT_EQ(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()),
            first.out);
}

TEST(QifExport, TextXmlCannotHoldIsReplacedAndMarkupEscaped) {
  e2e::TempDir dir;
  const std::string file = dir.write("hostile.res", hostile_file());
  const e2e::ToolRun run = e2e::run_tool({"extract", file, "--format", "qif", "--time", kTime});
  const Document document = parse(run.out);
  ASSERT_TRUE(document) << "the document does not parse";
  const std::vector<std::string> names =
      texts(document.get(), "//q:CircleFeatureItem/q:FeatureName");
  ASSERT_EQ(names.size(), 1U);
  // Markup arrives as text; control characters, a non-character and invalid UTF-8 as U+FFFD.
  EXPECT_EQ(names[0], "feature 9 <b>&amp; \xef\xbf\xbd\xef\xbf\xbd[31m \xef\xbf\xbd ]]>");
  const std::vector<std::string> model = texts(document.get(), "//q:DigitalModel/q:File/q:Name");
  ASSERT_EQ(model.size(), 1U);
  EXPECT_EQ(model[0], "C:\\jobs\\<odd> & \"quoted\" \xef\xbf\xbdmodel.prt");
}

TEST(QifExport, ToolRefusesABadTimeAndAnUnwritableOutput) {
  const std::string file = e2e::example("bracket_mm.txt");
  EXPECT_EQ(e2e::run_tool({"extract", file, "--format", "qif", "--time", "yesterday"}).exit_code,
            2);
  const e2e::ToolRun run =
      e2e::run_tool({"extract", file, "--format", "qif", "-o", "/nonexistent/dir/out.qif"});
  EXPECT_EQ(run.exit_code, 4);
  EXPECT_NE(run.err.find("cncprobe: "), std::string::npos);
  EXPECT_EQ(e2e::run_tool({"extract", "/nonexistent.res", "--format", "qif"}).exit_code, 3);
}

}  // namespace
