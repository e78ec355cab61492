// Tests of the service registry: dotted names, dequalification and lookup by type.
#include "cncprobe/platform/service.h"

#include <gtest/gtest.h>

#include "cncprobe/platform/document_factory.h"

namespace {
struct PlainService : utService {};

struct NoDocuments : axmDocumentFactory {
  std::shared_ptr<axmDocument> load_document(const apPath&, const axmLoadOptions&,
                                             axmParseError&) const override {
    return nullptr;
  }
};

utServiceName name(const char* text) { return utServiceName(utString(text)); }
}  // namespace

TEST(ServiceName, DequalifyDropsTheLastComponentUntilNothingIsLeft) {
  struct Case { const char* text; bool valid; const char* dequalified; };  // null: invalid
  const Case cases[] = {
      {"xml.settings.reader", true, "xml.settings"}, {"xml.settings", true, "xml"},
      {"xml", true, nullptr}, {"", false, nullptr}, {".xml", false, nullptr},
      {"xml.", false, nullptr}, {"xml..settings", false, nullptr},
  };
  for (const Case& c : cases) {
    utServiceName n = name(c.text);
    EXPECT_EQ(n.invalid() == 0, c.valid) << c.text;
    n.dequalify();
    EXPECT_EQ(n, c.dequalified ? name(c.dequalified) : utServiceName()) << c.text;
  }
}

TEST(ServiceRegistry, LocateFallsBackToLessQualifiedNamesOfTheWantedType) {
  utServiceRegistry registry;
  auto plain = std::make_shared<PlainService>();
  auto factory = std::make_shared<NoDocuments>();
  ASSERT_TRUE(registry.register_service(name("xml.settings"), plain));
  ASSERT_TRUE(registry.register_service(name("xml"), factory));
  EXPECT_FALSE(registry.register_service(name("a..b"), plain));
  EXPECT_FALSE(registry.register_service(name("json"), nullptr));

  utServiceName found;
  EXPECT_EQ(registry.locate_service<axmDocumentFactory>(name("xml.settings.reader"), found), factory);
  EXPECT_EQ(found, name("xml")) << "the plain service under xml.settings is not a factory";
  EXPECT_EQ(registry.locate_service<utService>(name("xml.settings.reader"), found), plain);
  EXPECT_EQ(found, name("xml.settings"));
  EXPECT_EQ(registry.locate_service<axmDocumentFactory>(name("json"), found), nullptr);
  EXPECT_NE(found.invalid(), 0);

  auto other = std::make_shared<NoDocuments>();
  ASSERT_TRUE(registry.register_service(name("xml"), other));
  EXPECT_EQ(registry.find_service(name("xml")), other) << "a later registration replaces";
  EXPECT_TRUE(registry.unregister_service(name("xml")));
  EXPECT_EQ(registry.find_service(name("xml")), nullptr);
}

TEST(ServiceRegistry, TheLibraryRegistersItsXmlFactoryWhenLoaded) {
  utServiceName found;
  EXPECT_NE(utService::get_instance()->locate_service<axmDocumentFactory>(name("xml"), found), nullptr);
}
