// Tests of the libxml2 document factory: element paths, text, attributes, error positions, limits.
#include "cncprobe/platform/document_factory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace {
apString w(const wchar_t* text) { return apString(apStringLiteral, text); }

class XmlDocumentFactory : public ::testing::Test {
protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("cncprobe_xml_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  apPath write(const std::string& content) {
    const fs::path file = dir_ / "doc.xml";
    std::ofstream(file, std::ios::binary) << content;
    return apPath(file.string());
  }

  // The document in `content`, loaded with the options a settings reader uses.
  std::shared_ptr<axmDocument> load(const std::string& content, axmParseError& error,
                                    std::uint64_t max_size = axmLoadOptions::default_max_document_size) {
    axmLoadOptions options(axmValidateWellFormed);
    options.set_max_document_size(max_size);
    return factory_->load_document(write(content), options, error);
  }

  fs::path dir_;
  std::shared_ptr<axmDocumentFactory> factory_ = axmDocumentFactory::create_default();
};
}  // namespace

TEST_F(XmlDocumentFactory, SelectElementGivesTheFirstMatchInDocumentOrder) {
  axmParseError error;
  const auto doc = load("<r><a><c>1</c></a><a><b>2</b><b>3</b></a><b>4</b><p:b>5</p:b></r>", error);
  ASSERT_TRUE(error.invalid());
  const auto root = doc->root_element();
  struct Case { const wchar_t* path; const wchar_t* text; };  // null text: nothing selected
  const Case cases[] = {
      {L"./a/b", L"2"}, {L"a/b", L"2"}, {L"./b", L"4"}, {L"*/b", L"2"}, {L"./a/./c", L"1"},
      {L".", L"12345"}, {L"./p:b", L"5"}, {L"./x", nullptr}, {L"", nullptr}, {L"/r", nullptr},
      {L"a//b", nullptr}, {L"./a/", nullptr}, {L"../r", nullptr},
  };
  for (const Case& c : cases) {
    const auto element = root->select_element(w(c.path));
    ASSERT_EQ(element != nullptr, c.text != nullptr) << apString(w(c.path)).utf8();
    if (element) {
      EXPECT_EQ(element->text_content().wstr(), c.text);
    }
  }
}

TEST_F(XmlDocumentFactory, TextIsTrimmedOfXmlBlanksOnlyAndAttributesAreAsWritten) {
  axmParseError error;
  const auto doc = load("<r version=' 2 ' q:v='x' xmlns:q='urn:q'>"
                        "<t> \t\r\n A <![CDATA[ B ]]><!-- c -->&amp;&#x20AC;&lt; \n</t>"
                        "<u>\xC2\xA0x\xC2\xA0</u><e/></r>",
                        error);
  ASSERT_TRUE(error.invalid()) << error.message().utf8();
  const auto root = doc->root_element();
  EXPECT_EQ(root->select_element(w(L"t"))->text_content().wstr(), L"A  B &\u20AC<");
  EXPECT_EQ(root->select_element(w(L"u"))->text_content().wstr(), L"\u00A0x\u00A0");
  const apString empty = root->select_element(w(L"e"))->text_content();
  EXPECT_TRUE(empty.invalid() == 0 && empty.length() == 0);
  EXPECT_EQ(root->attribute_value(w(L"version")).wstr(), L" 2 ");
  EXPECT_TRUE(root->has_attribute(w(L"q:v")));
  EXPECT_FALSE(root->has_attribute(w(L"v")));
  EXPECT_NE(root->attribute_value(w(L"missing")).invalid(), 0);
}

TEST_F(XmlDocumentFactory, ErrorsCarryTheParserMessageAndPosition) {
  struct Case { std::string content; int line; int column; const char* message; };
  const Case cases[] = {
      {"<r>\n  <units>mm</unit>\n</r>", 2, 19,
       "Opening and ending tag mismatch: units line 2 and unit"},
      {"<r><a></r>", 1, 11, "Opening and ending tag mismatch: a line 1 and r"},
      {"", -1, -1, "The document is empty."},
      {"<?xml version='1.0'?>\n<!-- only a comment -->\n", 3, 1,
       "Start tag expected, '<' not found"},
  };
  for (const Case& c : cases) {
    axmParseError error;
    EXPECT_EQ(load(c.content, error), nullptr) << c.content;
    EXPECT_FALSE(error.invalid());
    EXPECT_EQ(error.line_number(), c.line) << c.content;
    EXPECT_EQ(error.column_number(), c.column) << c.content;
    EXPECT_EQ(error.message().utf8(), c.message) << c.content;
  }
  axmParseError error;
  EXPECT_EQ(factory_->load_document(apPath(dir_.string()), axmLoadOptions(axmValidateWellFormed), error),
            nullptr);
  EXPECT_FALSE(error.invalid()) << "a directory is no document";
}

TEST_F(XmlDocumentFactory, RefusesAFileLargerThanTheLimit) {
  axmParseError error;
  EXPECT_NE(load("<r>12345</r>", error, 12), nullptr);
  EXPECT_EQ(load("<r>123456</r>", error, 12), nullptr);
  EXPECT_EQ(error.message().utf8(), "The file is larger than 12 bytes, the most a document may have.");
}
