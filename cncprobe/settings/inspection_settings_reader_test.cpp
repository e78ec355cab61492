// Tests of the settings reader: check order, all-or-nothing commits, messages and refusals.
#include "cncprobe/settings/inspection_settings_reader.h"

#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/inotify.h>
#endif
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {
// Every setting on one line, so whole settings objects compare at once.
std::string dump(const kptInspectionSettings& s) {
  char text[256];
  std::snprintf(text, sizeof text, "v%u u%d p%.15g d%.15g %d/%d/%d '%s'", s.version(),
                static_cast<int>(s.input_units().type()), s.proximity_criteria_mm(),
                s.confetti_diameter_mm(), s.linear_precision(), s.angular_precision(),
                s.unitless_precision(), s.surface_point_label().c_str());
  return text;
}

std::string sample(const char* name) {
  return std::string(CNCPROBE_TEST_DATA_DIR) + "/settings/" + name;
}

// A caller's settings whose version and units differ from anything a refused file may name.
kptInspectionSettings callers_settings() {
  kptInspectionSettings s;
  s.set_version(7);
  s.set_input_units(kptUnits(kptUnitsInches));
  return s;
}

class SettingsReader : public ::testing::Test {
 protected:
  apPath write(const std::string& content, const char* name = "settings.xml") {
    return apPath(scratch_.write(name, content));
  }

  ScratchDirectory scratch_;
  const fs::path& dir_ = scratch_.path();
};

// A host's factory that refuses every file.
struct FakeFactory : axmDocumentFactory {
  std::shared_ptr<axmDocument> load_document(const apPath&, const axmLoadOptions&,
                                             axmParseError& error) const override {
    error.set(-1, 4, apString(apStringLiteral, message));
    return nullptr;
  }
  const wchar_t* message = nullptr;
};
}  // namespace

TEST_F(SettingsReader, RefusedFilesReportOnlyTheFirstProblemAndChangeNothing) {
  const wchar_t* const version = L"The version setting should be a positive integer.";
  const wchar_t* const units = L"The units setting should be either millimetres or inches.";
  struct Case {
    const char* body;
    const wchar_t* custom;
  };
  const Case cases[] = {
      {"<s version='0'><units>INCHES</units></s>", version},
      {"<s version='abc'/>", version},
      {"<s version='2'><confetti><diameter>0</diameter></confetti><units>INCHES</units></s>",
       units},
      {"<s><units>Metric</units></s>", units},
      {"<s><units>mm</units><projection><proximity_criteria>-0.1</proximity_criteria></"
       "projection></s>",
       L"The proximity_criteria setting should be a non-negative rational number."},
      {"<s><data><precision><linear_digits>0</linear_digits></precision></data><confetti><diameter/"
       ">"
       "</confetti></s>",
       L"The diameter setting should be a positive rational number."},
      {"<s><data><precision><angle_digits>0</angle_digits><linear_digits>3.0</linear_digits>"
       "</precision></data></s>",
       L"The linear_digits setting should be a positive integer."},
      {"<s><units>mm</units><data><precision><angle_digits>-2</angle_digits></precision></data></"
       "s>",
       L"The angle_digits setting should be a positive integer."},
      {"<s><data><precision><unitless_digits>x</unitless_digits></precision></data></s>",
       L"The unitless_digits setting should be a positive integer."},
  };
  for (const Case& c : cases) {
    const kptInspectionSettingsErrorCode code =
        c.custom == version ? kptSettingsInvalidVersion : kptSettingsInvalidSettings;
    kptInspectionSettings settings = callers_settings();
    const kptInspectionSettingsError error =
        kptInspectionSettingsReader::read(write(c.body), settings);
    EXPECT_EQ(error.message().wstr(),
              kptInspectionSettingsError(code).message().wstr() + L" " + c.custom)
        << c.body;
    EXPECT_EQ(dump(settings), dump(callers_settings())) << c.body;
  }
}

TEST_F(SettingsReader, AcceptedFilesCommitEveryValueTheyNameInTheUnitsInForce) {
  struct Case {
    const char* body;
    kptUnitsType start;
    const char* settings;
  };
  const Case cases[] = {
      {"<s/>", kptUnitsMillimetres, "v1 u0 p0.8 d4 3/3/5 'Surface Point '"},
      {"<s><confetti><diameter>0.25</diameter></confetti></s>", kptUnitsInches,
       "v1 u1 p0.8 d6.35 3/3/5 'Surface Point '"},
      {"<s><confetti><diameter>2</diameter></confetti><units>mm</units></s>", kptUnitsInches,
       "v1 u0 p0.8 d2 3/3/5 'Surface Point '"},
      {"<s "
       "version='2'><units>imperial</units><projection><proximity_criteria>0</proximity_criteria>"
       "</projection></s>",
       kptUnitsMillimetres, "v2 u1 p0 d4 3/3/5 'Surface Point '"},
      {"<s><units>metric</units></s>", kptUnitsInches, "v1 u0 p0.8 d4 3/3/5 'Surface Point '"},
      {"<s><units>in</units><units>x</units></s>", kptUnitsMillimetres,
       "v1 u1 p0.8 d4 3/3/5 'Surface Point '"},
      {"<s>\n <data>\n  <precision><unitless_digits>\n 9\n </unitless_digits></precision>\n"
       "  <labels><surface_point_label/></labels>\n </data>\n</s>\n",
       kptUnitsMillimetres, "v1 u0 p0.8 d4 3/3/9 ''"},
      {"<s><data><labels><surface_point_label> A &amp; B &#233; "
       "</surface_point_label></labels></data></s>",
       kptUnitsMillimetres, "v1 u0 p0.8 d4 3/3/5 'A & B \xC3\xA9'"},
  };
  for (const Case& c : cases) {
    kptInspectionSettings settings;
    settings.set_input_units(kptUnits(c.start));
    const kptInspectionSettingsError error =
        kptInspectionSettingsReader::read(write(c.body), settings);
    // A version-2 file is taken whole but reported as newer than this reader.
    EXPECT_EQ(error.code(), c.settings[1] == '2' ? kptSettingsNewerVersion : kptSettingsSuccess);
    EXPECT_EQ(error.custom_message().invalid(), 1) << c.body;
    EXPECT_EQ(dump(settings), c.settings) << c.body;
  }
  kptInspectionSettings settings;
  EXPECT_EQ(kptInspectionSettingsReader::read(apPath(sample("valid_inches.xml")), settings).code(),
            kptSettingsSuccess);
  EXPECT_EQ(dump(settings), "v1 u1 p2.54 d6.35 4/2/6 'Surface Pt'");
}

TEST_F(SettingsReader, PathsAndXmlErrorsCarryTheirMessages) {
  const std::wstring bad_xml = kptInspectionSettingsError(kptSettingsInvalidXml).message().wstr();
  const std::wstring bad_path = kptInspectionSettingsError(kptSettingsInvalidPath).message().wstr();
  const apPath big = write("", "big.xml");
  fs::resize_file(dir_ / "big.xml", (std::uintmax_t{16} << 20) + 1);
  struct Case {
    apPath path;
    std::wstring message;
  };
  const Case cases[] = {
      {apPath(dir_.string()), bad_path},
      {apPath((dir_ / "missing.xml").string()), bad_path},
      {apPath(""), bad_path},
      {apPath(sample("malformed.xml")),
       bad_xml + L" Error: (3, 19) Opening and ending tag mismatch: units line 3 and unit"},
      {big,
       bad_xml + L" Error: The file is larger than 16777216 bytes, the most a document may have."},
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
  // file:///tmp/... here, file:///C:/... on Windows.
  const std::string path = dir_.generic_string();
  const std::string url = (path.front() == '/' ? "file://" : "file:///") + path;
  std::ifstream laughs(sample("billion_laughs.xml"));
  struct Case {
    std::string body;
    const char* reason;
  };
  const Case cases[] = {
      {"<!DOCTYPE s [<!ENTITY xxe SYSTEM '" + url +
           "/secret.txt'>]><s><data><labels>"
           "<surface_point_label>&xxe;</surface_point_label></labels></data></s>",
       "declares the entity 'xxe'"},
      {"<!DOCTYPE s SYSTEM '" + url + "/evil.dtd'><s/>", "refers to the external document type"},
      {"<!DOCTYPE s [<!ENTITY % p SYSTEM '" + url + "/evil.dtd'> %p;]><s/>",
       "declares the entity 'p'"},
      {"<s><units>&bogus;</units></s>", "Entity 'bogus' not defined"},
      {"<!DOCTYPE s [ %p; ]><s><units>&bogus;</units></s>", "refers to the entity 'bogus'"},
      {std::string(std::istreambuf_iterator<char>(laughs), {}), "declares the entity 'lol'"},
  };
  for (const Case& c : cases) {
    const apPath path = write(c.body);
#if !defined(_WIN32)  // no inotify: Windows runs skip the check that nothing else is opened
    const int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, dir_.c_str(), IN_OPEN | IN_ACCESS), 0);
#endif
    ::testing::internal::CaptureStderr();
    kptInspectionSettings settings;
    const kptInspectionSettingsError error = kptInspectionSettingsReader::read(path, settings);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(error.code(), kptSettingsInvalidXml) << c.body;
    EXPECT_NE(error.message().utf8().find(c.reason), std::string::npos) << error.message().utf8();
    EXPECT_EQ(dump(settings), dump(kptInspectionSettings()));
#if !defined(_WIN32)
    alignas(inotify_event) char events[4096];
    const ssize_t length = read(watch, events, sizeof events);
    for (ssize_t at = 0; at < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(events + at);
      EXPECT_STREQ(event->len ? event->name : "", "settings.xml") << c.body;
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    close(watch);
#endif
  }
}

TEST_F(SettingsReader, FactoryLookupAndHostFactories) {
  const apPath path = write("<s><units>in</units></s>");
  utServiceRegistry* registry = utService::get_instance();
  const utServiceName xml(utString("xml"));
  const std::shared_ptr<utService> library_factory = registry->find_service(xml);
  kptInspectionSettings settings;

  ASSERT_TRUE(registry->unregister_service(xml));
  const kptInspectionSettingsReader without(nullptr);
  EXPECT_EQ(without.factory(), nullptr);
  EXPECT_EQ(without.update_settings(path, settings).custom_message().wstr(),
            L"No XML document factory is available.");
  EXPECT_EQ(kptInspectionSettingsReader::read(path, settings).code(), kptSettingsInvalidXml);

  auto host = std::make_shared<FakeFactory>();
  host->message = L"host refuses";
  ASSERT_TRUE(registry->register_service(xml, host));
  EXPECT_EQ(kptInspectionSettingsReader::read(path, settings).custom_message().wstr(),
            L"Error: host refuses")
      << "no position unless both line and column are known";

  const kptInspectionSettingsReader own(axmDocumentFactory::create_default());
  EXPECT_EQ(own.update_settings(path, settings).code(), kptSettingsSuccess);
  EXPECT_EQ(settings.input_units().type(), kptUnitsInches) << "a factory given beats the registry";
  EXPECT_TRUE(registry->register_service(xml, library_factory));
}
