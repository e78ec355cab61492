// Tests of the settings reader: the order of the checks, all-or-nothing commits, units in force,
// the messages, the factory lookup, and the refusal of entity and external-DTD tricks.
#include "cncprobe/settings/inspection_settings_reader.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {
apString w(const wchar_t* text) { return apString(apStringLiteral, text); }

// Every setting on one line, so whole settings objects compare at once.
std::string dump(const kptInspectionSettings& s) {
  char text[256];
  std::snprintf(text, sizeof text, "v%u u%d p%.17g d%.17g %d/%d/%d '%s'", s.version(),
                static_cast<int>(s.input_units().type()), s.proximity_criteria_mm(),
                s.confetti_diameter_mm(), s.linear_precision(), s.angular_precision(),
                s.unitless_precision(), s.surface_point_label().c_str());
  return text;
}

// A caller's settings that differ from the defaults everywhere.
kptInspectionSettings callers_settings() {
  kptInspectionSettings s;
  s.set_version(7);
  s.set_input_units(kptUnits(kptUnitsInches));
  s.set_proximity_criteria(0.5);
  s.set_confetti_diameter(2.0);
  s.set_linear_precision(6);
  s.set_angular_precision(7);
  s.set_unitless_precision(8);
  s.set_surface_point_label(utString("P"));
  return s;
}

class SettingsReader : public ::testing::Test {
protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("cncprobe_settings_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  apPath write(const std::string& content, const char* name = "settings.xml") {
    std::ofstream(dir_ / name, std::ios::binary) << content;
    return apPath((dir_ / name).string());
  }

  fs::path dir_;
};

// Restores the registry's "xml" service when a test that replaced it ends.
struct XmlServiceGuard {
  const utServiceName name{utString("xml")};
  const std::shared_ptr<utService> saved = utService::get_instance()->find_service(name);
  ~XmlServiceGuard() { (void)utService::get_instance()->register_service(name, saved); }
};

struct FakeFactory : axmDocumentFactory {
  std::shared_ptr<axmDocument> load_document(const apPath&, const axmLoadOptions&,
                                             axmParseError& error) const override {
    if (message) error.set(-1, 4, w(message));
    return nullptr;
  }
  const wchar_t* message = nullptr;
};
}  // namespace

TEST_F(SettingsReader, RefusedFilesReportOnlyTheFirstProblemAndChangeNothing) {
  const wchar_t* const version = L"The version setting should be a positive integer.";
  const wchar_t* const units = L"The units setting should be either millimetres or inches.";
  const wchar_t* const proximity = L"The proximity_criteria setting should be a non-negative rational number.";
  const wchar_t* const diameter = L"The diameter setting should be a positive rational number.";
  const wchar_t* const linear = L"The linear_digits setting should be a positive integer.";
  const wchar_t* const angle = L"The angle_digits setting should be a positive integer.";
  const wchar_t* const unitless = L"The unitless_digits setting should be a positive integer.";
  struct Case { const char* body; kptInspectionSettingsErrorCode code; const wchar_t* custom; };
  const Case cases[] = {
      {"<s version='0'><units>INCHES</units></s>", kptSettingsInvalidVersion, version},
      {"<s version='-1'/>", kptSettingsInvalidVersion, version},
      {"<s version='abc'/>", kptSettingsInvalidVersion, version},
      {"<s version='1.0'/>", kptSettingsInvalidVersion, version},
      {"<s version='2'><confetti><diameter>0</diameter></confetti><units>INCHES</units></s>",
       kptSettingsInvalidSettings, units},
      {"<s><units>Metric</units></s>", kptSettingsInvalidSettings, units},
      {"<s><units>mm</units><projection><proximity_criteria>-0.1</proximity_criteria></projection></s>",
       kptSettingsInvalidSettings, proximity},
      {"<s><projection><proximity_criteria>nan</proximity_criteria></projection></s>",
       kptSettingsInvalidSettings, proximity},
      {"<s><data><precision><linear_digits>0</linear_digits></precision></data>"
       "<confetti><diameter>0</diameter></confetti></s>",
       kptSettingsInvalidSettings, diameter},
      {"<s><confetti><diameter/></confetti></s>", kptSettingsInvalidSettings, diameter},
      {"<s><data><precision><angle_digits>0</angle_digits><linear_digits>3.0</linear_digits>"
       "</precision></data></s>",
       kptSettingsInvalidSettings, linear},
      {"<s><units>mm</units><data><precision><angle_digits>-2</angle_digits></precision></data></s>",
       kptSettingsInvalidSettings, angle},
      {"<s><data><precision><unitless_digits>x</unitless_digits></precision></data></s>",
       kptSettingsInvalidSettings, unitless},
  };
  for (const Case& c : cases) {
    kptInspectionSettings settings = callers_settings();
    const kptInspectionSettingsError error = kptInspectionSettingsReader::read(write(c.body), settings);
    EXPECT_EQ(error.code(), c.code) << c.body;
    EXPECT_EQ(error.message().wstr(),
              kptInspectionSettingsError(c.code).message().wstr() + L" " + c.custom)
        << c.body;
    EXPECT_EQ(dump(settings), dump(callers_settings())) << c.body;
  }
}

TEST_F(SettingsReader, AcceptedFilesCommitEveryValueTheyNameInTheUnitsInForce) {
  struct Case {
    const char* body;
    kptUnitsType start;
    kptInspectionSettingsErrorCode code;
    const char* settings;
  };
  const Case cases[] = {
      {"<s/>", kptUnitsMillimetres, kptSettingsSuccess, "v1 u0 p0.80000000000000004 d4 3/3/5 'Surface Point '"},
      {"<s><confetti><diameter>0.25</diameter></confetti></s>", kptUnitsInches, kptSettingsSuccess,
       "v1 u1 p0.80000000000000004 d6.3499999999999996 3/3/5 'Surface Point '"},
      {"<s><confetti><diameter>0.25</diameter></confetti></s>", kptUnitsMillimetres, kptSettingsSuccess,
       "v1 u0 p0.80000000000000004 d0.25 3/3/5 'Surface Point '"},
      {"<s><confetti><diameter>2</diameter></confetti><units>mm</units></s>", kptUnitsInches,
       kptSettingsSuccess, "v1 u0 p0.80000000000000004 d2 3/3/5 'Surface Point '"},
      {"<s version='2'><units>imperial</units><projection><proximity_criteria>0</proximity_criteria>"
       "</projection></s>",
       kptUnitsMillimetres, kptSettingsNewerVersion, "v2 u1 p0 d4 3/3/5 'Surface Point '"},
      {"<s><units>metric</units></s>", kptUnitsInches, kptSettingsSuccess,
       "v1 u0 p0.80000000000000004 d4 3/3/5 'Surface Point '"},
      {"<s><units>millimetres</units></s>", kptUnitsInches, kptSettingsSuccess,
       "v1 u0 p0.80000000000000004 d4 3/3/5 'Surface Point '"},
      {"<s><units>in</units><units>bogus</units></s>", kptUnitsMillimetres, kptSettingsSuccess,
       "v1 u1 p0.80000000000000004 d4 3/3/5 'Surface Point '"},
      {"<s>\n  <data>\n    <precision>\n      <unitless_digits>\n        9\n      </unitless_digits>\n"
       "    </precision>\n    <labels><surface_point_label/></labels>\n  </data>\n</s>\n",
       kptUnitsMillimetres, kptSettingsSuccess, "v1 u0 p0.80000000000000004 d4 3/3/9 ''"},
      {"<s><data><labels><surface_point_label> A &amp; B &#233; </surface_point_label></labels></data></s>",
       kptUnitsMillimetres, kptSettingsSuccess, "v1 u0 p0.80000000000000004 d4 3/3/5 'A & B \xC3\xA9'"},
  };
  for (const Case& c : cases) {
    kptInspectionSettings settings;
    settings.set_input_units(kptUnits(c.start));
    const kptInspectionSettingsError error = kptInspectionSettingsReader::read(write(c.body), settings);
    EXPECT_EQ(error.code(), c.code) << c.body;
    EXPECT_EQ(error.custom_message().invalid(), 1) << c.body;
    EXPECT_EQ(dump(settings), c.settings) << c.body;
  }
}

TEST_F(SettingsReader, SampleFiles) {
  struct Case { const char* file; kptInspectionSettingsErrorCode code; const char* settings; };
  const Case cases[] = {
      {"valid_inches.xml", kptSettingsSuccess, "v1 u1 p2.54 d6.3499999999999996 4/2/6 'Surface Pt'"},
      {"newer_version.xml", kptSettingsNewerVersion, "v2 u0 p0.80000000000000004 d3 5/3/5 'Surface Point '"},
      {"invalid_diameter.xml", kptSettingsInvalidSettings, "v0 u0 p0.80000000000000004 d4 3/3/5 'Surface Point '"},
      {"malformed.xml", kptSettingsInvalidXml, "v0 u0 p0.80000000000000004 d4 3/3/5 'Surface Point '"},
  };
  for (const Case& c : cases) {
    kptInspectionSettings settings;
    const apPath path(std::string(CNCPROBE_TEST_DATA_DIR) + "/settings/" + c.file);
    EXPECT_EQ(kptInspectionSettingsReader::read(path, settings).code(), c.code) << c.file;
    EXPECT_EQ(dump(settings), c.settings) << c.file;
  }
}

TEST_F(SettingsReader, PathsAndXmlErrorsCarryTheirMessages) {
  const std::wstring bad_xml = kptInspectionSettingsError(kptSettingsInvalidXml).message().wstr();
  const std::wstring bad_path = kptInspectionSettingsError(kptSettingsInvalidPath).message().wstr();
  const apPath big = write("", "big.xml");
  fs::resize_file((dir_ / "big.xml"), (std::uintmax_t{16} << 20) + 1);
  struct Case { apPath path; std::wstring message; };
  const Case cases[] = {
      {apPath(dir_.string()), bad_path},
      {apPath((dir_ / "missing.xml").string()), bad_path},
      {apPath(""), bad_path},
      {write("<settings>\n  <units>mm</unit>\n</settings>"),
       bad_xml + L" Error: (2, 19) Opening and ending tag mismatch: units line 2 and unit"},
      {big, bad_xml + L" Error: The file is larger than 16777216 bytes, the most a document may have."},
  };
  for (const Case& c : cases) {
    kptInspectionSettings settings = callers_settings();
    EXPECT_EQ(kptInspectionSettingsReader::read(c.path, settings).message().wstr(), c.message);
    EXPECT_EQ(dump(settings), dump(callers_settings()));
  }
}

TEST_F(SettingsReader, EntityTricksAreRefusedWithoutOpeningAnyOtherFile) {
  write("TOP SECRET", "secret.txt");
  write("<!ENTITY x 'y'>", "evil.dtd");
  const std::string dir = dir_.string();
  struct Case { std::string body; const char* reason; };
  std::vector<Case> cases = {
      {"<!DOCTYPE s [<!ENTITY xxe SYSTEM 'file://" + dir + "/secret.txt'>]>"
       "<s><data><labels><surface_point_label>&xxe;</surface_point_label></labels></data></s>",
       "declares the entity 'xxe'"},
      {"<!DOCTYPE s SYSTEM 'file://" + dir + "/evil.dtd'><s/>", "document type"},
      {"<!DOCTYPE s PUBLIC '-//x//y' 'evil.dtd'><s/>", "document type"},
      {"<!DOCTYPE s [<!ENTITY % p SYSTEM 'file://" + dir + "/evil.dtd'> %p;]><s/>",
       "declares the entity 'p'"},
      {"<s><units>&bogus;</units></s>", "Entity 'bogus' not defined"},
      {"<!DOCTYPE s [ %p; ]><s><units>&bogus;</units></s>", "entity"},
  };
  std::ifstream laughs(std::string(CNCPROBE_TEST_DATA_DIR) + "/settings/billion_laughs.xml");
  cases.push_back({std::string(std::istreambuf_iterator<char>(laughs), {}),
                   "declares the entity 'lol'"});
  for (const Case& c : cases) {
    const apPath path = write(c.body);
    const int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, dir.c_str(), IN_OPEN | IN_ACCESS), 0);
    ::testing::internal::CaptureStderr();
    kptInspectionSettings settings;
    const kptInspectionSettingsError error = kptInspectionSettingsReader::read(path, settings);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(error.code(), kptSettingsInvalidXml) << c.body;
    EXPECT_NE(error.message().utf8().find(c.reason), std::string::npos) << error.message().utf8();
    EXPECT_EQ(dump(settings), dump(kptInspectionSettings()));
    alignas(inotify_event) char events[4096];
    const ssize_t length = read(watch, events, sizeof events);
    for (ssize_t at = 0; at < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(events + at);
      EXPECT_STREQ(event->len ? event->name : "", "settings.xml") << c.body;
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    close(watch);
  }
}

TEST_F(SettingsReader, FactoryLookupAndHostFactories) {
  const apPath path = write("<s><units>in</units></s>");
  XmlServiceGuard guard;
  kptInspectionSettings settings;

  ASSERT_TRUE(utService::get_instance()->unregister_service(guard.name));
  const kptInspectionSettingsReader without(nullptr);
  EXPECT_EQ(without.factory(), nullptr);
  EXPECT_EQ(without.update_settings(path, settings).custom_message().wstr(),
            L"No XML document factory is available.");
  EXPECT_EQ(kptInspectionSettingsReader::read(path, settings).code(), kptSettingsInvalidXml);

  auto host = std::make_shared<FakeFactory>();
  host->message = L"host refuses";
  ASSERT_TRUE(utService::get_instance()->register_service(guard.name, host));
  EXPECT_EQ(kptInspectionSettingsReader::read(path, settings).custom_message().wstr(),
            L"Error: host refuses") << "no position unless both line and column are known";
  host->message = nullptr;
  EXPECT_EQ(kptInspectionSettingsReader::read(path, settings).code(), kptSettingsInvalidXml)
      << "a factory handing back no document without saying why";

  const kptInspectionSettingsReader own(axmDocumentFactory::create_default());
  EXPECT_EQ(own.update_settings(path, settings).code(), kptSettingsSuccess);
  EXPECT_EQ(settings.input_units().type(), kptUnitsInches);
}
