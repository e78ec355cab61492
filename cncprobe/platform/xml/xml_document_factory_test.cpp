// Tests of the libxml2 document factory: element paths and text, refusals, and a host's own
// libxml2 settings left alone.
#if !defined(_WIN32)
#include <dlfcn.h>
#endif
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "cncprobe/platform/xml/document_factory.h"
#include "tests/support/scratch_directory.h"

namespace {
apString w(const wchar_t* text) { return apString(apStringLiteral, text); }

// The document held in `content`, loaded from a scratch file.
std::shared_ptr<axmDocument> load(const std::string& content) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() /
      ("cncprobe_xml_" + std::to_string(getpid()) + "_" +
       ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".xml");
  std::ofstream(file, std::ios::binary) << content;
  axmParseError error;
  auto doc = axmDocumentFactory::create_default()->load_document(
      apPath(file.string()), axmLoadOptions(axmValidateWellFormed), error);
  std::filesystem::remove(file);
  EXPECT_FALSE(error.has_error()) << error.message().utf8();
  return doc;
}

// What a host might install for its own libxml2 work; the factory must never call them.
int g_host_loader_calls = 0;
int g_host_error_calls = 0;
xmlParserInputPtr host_loader(const char*, const char*, xmlParserCtxtPtr) {
  ++g_host_loader_calls;
  return nullptr;
}
void host_generic_error(void*, const char*, ...) { ++g_host_error_calls; }
void host_structured_error(void*, xmlErrorPtr) { ++g_host_error_calls; }
int g_host_context = 0;
}  // namespace

// Paths select the first element in document order; text is trimmed of XML blanks only.
TEST(XmlDocumentFactory, SelectElementAndTextContent) {
  const auto doc = load(
      "<r><a><c>\xC2\xA0 1<![CDATA[ x ]]><!-- y -->\t\r\n</c></a><a><b> 2 </b><b>3</b></a>"
      "<b>4</b><p:b xmlns:p='urn:p'>5</p:b></r>");
  ASSERT_NE(doc, nullptr);
  const auto root = doc->root_element();
  struct Case {
    const wchar_t* path;
    const wchar_t* text;
  };  // null text: nothing selected
  const Case cases[] = {
      {L"./a/b", L"2"},
      {L"a/b", L"2"},
      {L"./b", L"4"},
      {L"*/b", L"2"},
      {L"./a/./c", L"\u00A0 1 x"},
      {L".", L"\u00A0 1 x \t\n 2 345"},
      {L"./p:b", L"5"},
      {L"./x", nullptr},
      {L"", nullptr},
      {L"/r", nullptr},
      {L"a//b", nullptr},
      {L"./a/", nullptr},
      {L"../r", nullptr},
  };
  for (const Case& c : cases) {
    const auto element = root->select_element(w(c.path));
    ASSERT_EQ(element != nullptr, c.text != nullptr) << apString(w(c.path)).utf8();
    if (element) {
      EXPECT_EQ(element->text_content().wstr(), c.text);
    }
  }
}

TEST(XmlDocumentFactory, RefusesEntitiesAndBadBytesAndLeavesTheHostsLibxml2Alone) {
  // Loading the library (which registers the factory) and making a factory install nothing:
  // the entity loader in effect is still libxml2's own.
  const auto create = axmDocumentFactory::create_default();
  const xmlExternalEntityLoader previous_loader = xmlGetExternalEntityLoader();
#if !defined(_WIN32)  // libxml2 is linked in statically on Windows: no library file to name
  Dl_info where{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(previous_loader), &where), 0);
  EXPECT_NE(std::string(where.dli_fname).find("libxml2"), std::string::npos) << where.dli_fname;
#endif

  const xmlGenericErrorFunc previous_generic = xmlGenericError;
  void* const previous_generic_context = xmlGenericErrorContext;
  const xmlStructuredErrorFunc previous_structured = xmlStructuredError;
  void* const previous_structured_context = xmlStructuredErrorContext;
  xmlSetExternalEntityLoader(host_loader);
  xmlSetGenericErrorFunc(&g_host_context, host_generic_error);
  g_host_loader_calls = g_host_error_calls = 0;

  const std::string laughs = std::string(CNCPROBE_TEST_DATA_DIR) + "/settings/billion_laughs.xml";
  const std::string utf16 = std::string("\xFF\xFE<\0r\0>\0\xE9\0<\0/\0r\0>\0", 18);
  struct Case {
    const char* what;
    std::string content;  // empty: read `laughs`
    const wchar_t* text;  // null: refused
  };
  const Case cases[] = {
      {"well formed", "<r>x</r>", L"x"},
      {"malformed", "<r><a></r>", nullptr},
      {"external entity", "<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/hostname'>]><r>&e;</r>",
       nullptr},
      {"external parameter entity",
       "<!DOCTYPE r [<!ENTITY % p SYSTEM 'file:///etc/hostname'> %p;]><r/>", nullptr},
      {"external document type", "<!DOCTYPE r SYSTEM 'file:///etc/hostname'><r/>", nullptr},
      {"entity bomb", "", nullptr},
      {"Latin-1, decoded", "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>", L"\u00E9"},
      {"UTF-16 with its byte order mark, decoded", utf16, L"\u00E9"},
      {"bytes that are no Shift_JIS",
       "<?xml version='1.0' encoding='Shift_JIS'?>\n<r>\x81\x20\x81</r>", nullptr},
      {"an unpaired UTF-16 surrogate", std::string("\xFF\xFE<\0r\0>\0\x00\xD8<\0/\0r\0>\0", 18),
       nullptr},
      {"an encoding nobody knows", "<?xml version='1.0' encoding='NO-SUCH'?><r/>", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const ScratchDirectory dir;
    const std::string file = c.content.empty() ? laughs : dir.write("settings.xml", c.content);
    axmParseError error;
    const auto doc =
        create->load_document(apPath(file), axmLoadOptions(axmValidateWellFormed), error);
    EXPECT_EQ(doc != nullptr, c.text != nullptr);
    EXPECT_EQ(error.has_error(), c.text == nullptr);
    EXPECT_EQ(error.invalid(), !error.has_error());
    if (doc && c.text) {
      EXPECT_EQ(doc->root_element()->text_content().wstr(), std::wstring(c.text));
    }
    if (error.has_error()) {
      EXPECT_FALSE(error.message().utf8().empty());
    }
    EXPECT_EQ(xmlGetExternalEntityLoader(), host_loader);
    EXPECT_EQ(xmlGenericError, host_generic_error);
    EXPECT_EQ(xmlGenericErrorContext, &g_host_context);
    EXPECT_EQ(xmlStructuredError, previous_structured);
  }
  EXPECT_EQ(g_host_loader_calls, 0);
  EXPECT_EQ(g_host_error_calls, 0);

  // The host's structured handler, which libxml2 prefers to the generic one, is left alone too.
  xmlSetStructuredErrorFunc(&g_host_context, host_structured_error);
  for (const char* content :
       {"<r><a></r>", "<?xml version='1.0' encoding='Shift_JIS'?><r>\x81</r>"}) {
    const ScratchDirectory dir;
    axmParseError error;
    EXPECT_EQ(create->load_document(apPath(dir.write("settings.xml", content)),
                                    axmLoadOptions(axmValidateWellFormed), error),
              nullptr);
    EXPECT_EQ(xmlStructuredError, host_structured_error);
  }
  EXPECT_EQ(g_host_error_calls, 0);

  xmlSetExternalEntityLoader(previous_loader);
  xmlSetGenericErrorFunc(previous_generic_context, previous_generic);
  xmlSetStructuredErrorFunc(previous_structured_context, previous_structured);
}
