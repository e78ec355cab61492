// Tests of the libxml2 document factory: element paths and text.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "cncprobe/platform/xml/document_factory.h"

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
  EXPECT_TRUE(error.invalid()) << error.message().utf8();
  return doc;
}
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
