// Tests of the service registry: lookup by type under ever less qualified names.
#include "cncprobe/platform/xml/service.h"

#include <gtest/gtest.h>

#include "cncprobe/platform/xml/document_factory.h"

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

TEST(ServiceRegistry, LocateFallsBackToLessQualifiedNamesOfTheWantedType) {
  utServiceRegistry registry;
  auto plain = std::make_shared<PlainService>();
  auto factory = std::make_shared<NoDocuments>();
  ASSERT_TRUE(registry.register_service(name("xml.settings"), plain));
  ASSERT_TRUE(registry.register_service(name("xml"), factory));
  EXPECT_FALSE(registry.register_service(name("a..b"), plain));
  EXPECT_FALSE(registry.register_service(name(".xml"), plain));
  EXPECT_FALSE(registry.register_service(name("json"), nullptr));

  utServiceName found;
  EXPECT_EQ(registry.locate_service<axmDocumentFactory>(name("xml.settings.reader"), found),
            factory);
  EXPECT_EQ(found, name("xml")) << "the plain service under xml.settings is not a factory";
  EXPECT_EQ(registry.locate_service<utService>(name("xml.settings.reader"), found), plain);
  EXPECT_EQ(found, name("xml.settings"));
  EXPECT_EQ(registry.locate_service<axmDocumentFactory>(name("json"), found), nullptr);
  EXPECT_NE(found.invalid(), 0);
}
