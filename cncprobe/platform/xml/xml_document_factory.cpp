// The library's own XML document factory on libxml2, registered as the "xml" service at load time.
//
// Settings files come from users, so loading is deliberately narrow: the file is read into memory
// by us (libxml2 opens nothing), nothing is fetched from the network or the file system, no entity
// is expanded, and a document that declares entities, refers to an undeclared one or names an
// external document type is refused with a message that says why.
//
// A host may use libxml2 itself, so a load changes none of libxml2's process-wide or per-thread
// settings (entity loader, error handlers): everything is set on the load's own parser context.
// The one kind of complaint libxml2 sends past a context, that the bytes do not decode in the
// document's encoding, cannot arise: a document in another encoding than UTF-8 is decoded here
// before libxml2 sees it (by iconv; on Windows by the system's code pages and, for UTF-16 and
// UTF-32, by the standard library's converters).
#if defined(_WIN32)
#include <windows.h>

#include <cwchar>
#include <locale>
#else
#include <iconv.h>
#endif
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cncprobe/platform/xml/document_factory.h"

namespace {

// ---------------------------------------------------------------------------------------------
// Text helpers

apString from_utf8(std::string_view text) {
  int error = 0;
  return apString(apStringFromUTF8, text, error);
}

std::string_view as_view(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// The content of a node as libxml2 joins it, released here.
std::string node_content(const xmlNode* node) {
  xmlChar* content = xmlNodeGetContent(node);
  std::string text(as_view(content));
  xmlFree(content);
  return text;
}

// A name as written in the document: "prefix:local" or "local".
std::string qualified_name(const xmlNs* ns, const xmlChar* name) {
  std::string text;
  if (ns && ns->prefix) {
    text = as_view(ns->prefix);
    text += ':';
  }
  text += as_view(name);
  return text;
}

// ---------------------------------------------------------------------------------------------
// Documents and elements

class XmlDocument;

class XmlElement final : public axmElement {
 public:
  XmlElement(std::shared_ptr<const XmlDocument> owner, xmlNode* node)
      : owner_(std::move(owner)), node_(node) {}

  apString text_content() const override { return from_utf8(trimmed(node_content(node_))); }

  apString name() const override { return from_utf8(qualified_name(node_->ns, node_->name)); }

  bool has_attribute(const apString& name) const override {
    return find_attribute(name) != nullptr;
  }

  apString attribute_value(const apString& name) const override {
    const xmlAttr* attribute = find_attribute(name);
    if (!attribute) return apString();
    return from_utf8(node_content(reinterpret_cast<const xmlNode*>(attribute)));
  }

  std::shared_ptr<axmElement> select_element(const apString& path) const override {
    int error = 0;
    const std::string text = path.utf8(error);
    if (path.invalid() || error != 0 || text.empty() || text.front() == '/') return nullptr;
    std::vector<std::string_view> steps;
    std::string_view rest = text;
    while (true) {
      const std::size_t slash = rest.find('/');
      const std::string_view step = rest.substr(0, slash);
      if (step.empty()) return nullptr;
      steps.push_back(step);
      if (slash == std::string_view::npos) break;
      rest.remove_prefix(slash + 1);
    }
    xmlNode* found = first_match(node_, steps, 0);
    return found ? std::make_shared<XmlElement>(owner_, found) : nullptr;
  }

 private:
  const xmlAttr* find_attribute(const apString& name) const {
    // Only the attributes written on the element count; defaults a DTD might declare do not.
    int error = 0;
    const std::string wanted = name.utf8(error);
    if (name.invalid() || error != 0) return nullptr;
    for (const xmlAttr* a = node_->properties; a; a = a->next) {
      if (qualified_name(a->ns, a->name) == wanted) return a;
    }
    return nullptr;
  }

  // Depth first over the children in order, so the first hit is the first in document order.
  static xmlNode* first_match(xmlNode* node, const std::vector<std::string_view>& steps,
                              std::size_t index) {
    if (index == steps.size()) return node;
    const std::string_view step = steps[index];
    if (step == ".") return first_match(node, steps, index + 1);
    for (xmlNode* child = node->children; child; child = child->next) {
      if (child->type != XML_ELEMENT_NODE) continue;
      if (step != "*" && qualified_name(child->ns, child->name) != step) continue;
      if (xmlNode* hit = first_match(child, steps, index + 1)) return hit;
    }
    return nullptr;
  }

  std::shared_ptr<const XmlDocument> owner_;  // keeps the tree alive while the element is used
  xmlNode* node_;
};

class XmlDocument final : public axmDocument, public std::enable_shared_from_this<XmlDocument> {
 public:
  explicit XmlDocument(xmlDoc* doc) : doc_(doc) {}
  ~XmlDocument() override { xmlFreeDoc(doc_); }
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;

  std::shared_ptr<axmElement> root_element() const override {
    xmlNode* root = xmlDocGetRootElement(doc_);
    return root ? std::make_shared<XmlElement>(shared_from_this(), root) : nullptr;
  }

 private:
  xmlDoc* doc_;
};

// ---------------------------------------------------------------------------------------------
// Loading

// What one load has learnt: the first errors libxml2 reported and our own refusal, if any.
struct LoadState {
  struct Problem {
    bool set = false;
    int line = -1;
    int column = -1;
    std::string message;
  };
  Problem refusal;
  Problem first_fatal;
  Problem first_error;
};

void prepare_libxml2() {
  static std::once_flag once;
  std::call_once(once, [] { xmlInitParser(); });
}

LoadState& state_of(void* ctx) {
  return *static_cast<LoadState*>(static_cast<xmlParserCtxt*>(ctx)->_private);
}

int known(int position) { return position > 0 ? position : -1; }

void set_problem(LoadState::Problem& problem, int line, int column, std::string message) {
  if (problem.set) return;
  problem.set = true;
  problem.line = known(line);
  problem.column = known(column);
  // libxml2 ends its messages with a line feed and sometimes breaks them; keep them to one line.
  while (!message.empty() && is_blank(message.back())) message.pop_back();
  for (char& c : message) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  problem.message = std::move(message);
}

// Stops the parse for a reason of our own, noted where the parser stands. The callbacks run
// inside libxml2's C frames, so nothing may propagate out of them.
void refuse(void* ctx, const char* what, const xmlChar* name, const char* why) noexcept {
  try {
    set_problem(state_of(ctx).refusal, xmlSAX2GetLineNumber(ctx), xmlSAX2GetColumnNumber(ctx),
                std::string(what) + " '" + std::string(as_view(name)) + "'; " + why);
  } catch (...) {
  }
  xmlStopParser(static_cast<xmlParserCtxt*>(ctx));
}

void on_error(void* ctx, xmlErrorPtr error) noexcept {
  if (!ctx || !error || error->level < XML_ERR_ERROR) return;
  try {
    LoadState& state = state_of(ctx);
    const std::string message = error->message ? error->message : "Unknown XML error.";
    if (error->level == XML_ERR_FATAL) {
      set_problem(state.first_fatal, error->line, error->int2, message);
    }
    set_problem(state.first_error, error->line, error->int2, message);
  } catch (...) {
  }
}

constexpr const char* kNoEntities =
    "entities are never expanded, so documents that declare them are refused.";

void on_entity_declaration(void* ctx, const xmlChar* name, int, const xmlChar*, const xmlChar*,
                           xmlChar*) noexcept {
  refuse(ctx, "The document declares the entity", name, kNoEntities);
}

void on_unparsed_entity_declaration(void* ctx, const xmlChar* name, const xmlChar*, const xmlChar*,
                                    const xmlChar*) noexcept {
  refuse(ctx, "The document declares the entity", name, kNoEntities);
}

void on_internal_subset(void* ctx, const xmlChar* name, const xmlChar* external_id,
                        const xmlChar* system_id) noexcept {
  if (external_id || system_id) {
    refuse(ctx, "The document refers to the external document type",
           system_id ? system_id : external_id, "external document types are never loaded.");
    return;
  }
  xmlSAX2InternalSubset(ctx, name, external_id, system_id);
}

void on_entity_reference(void* ctx, const xmlChar* name) noexcept {
  refuse(ctx, "The document refers to the entity", name,
         "only the predefined entities and character references are allowed.");
}

xmlParserInputPtr on_resolve_entity(void*, const xmlChar*, const xmlChar*) noexcept {
  return nullptr;
}

// A last look at the tree: entity nodes must not have slipped through.
bool holds_entity_nodes(const xmlDoc* doc) {
  const xmlNode* node = doc->children;
  while (node) {
    if (node->type == XML_ENTITY_REF_NODE || node->type == XML_ENTITY_NODE ||
        node->type == XML_ENTITY_DECL) {
      return true;
    }
    if (node->children && node->type != XML_DTD_NODE) {
      node = node->children;
      continue;
    }
    while (node && !node->next) {
      node = node->parent;
      if (node == reinterpret_cast<const xmlNode*>(doc)) node = nullptr;
    }
    if (node) node = node->next;
  }
  return doc->intSubset && (doc->intSubset->entities || doc->intSubset->pentities);
}

// ---------------------------------------------------------------------------------------------
// Encodings

// The encoding a document announces, as libxml2 would find it: a byte order mark or the first
// bytes of "<?xml" for UTF-16 and UTF-32, else the declaration's encoding="...". Empty for UTF-8
// (also when nothing is announced). `skip` is the length of a byte order mark to drop.
std::string announced_encoding(std::string_view bytes, std::size_t& skip) {
  skip = 0;
  const auto starts = [&bytes](std::string_view prefix) {
    return bytes.substr(0, prefix.size()) == prefix;
  };
  using namespace std::string_view_literals;
  if (starts("\xEF\xBB\xBF"sv)) return {};
  if (starts("\xFF\xFE\0\0"sv) || starts("\0\0\xFE\xFF"sv)) {
    skip = 4;
    return bytes[0] == '\0' ? "UTF-32BE" : "UTF-32LE";
  }
  if (starts("\xFF\xFE"sv) || starts("\xFE\xFF"sv)) {
    skip = 2;
    return bytes[0] == '\xFF' ? "UTF-16LE" : "UTF-16BE";
  }
  if (starts("<\0\0\0"sv)) return "UTF-32LE";
  if (starts("\0\0\0<"sv)) return "UTF-32BE";
  if (starts("<\0?\0"sv)) return "UTF-16LE";
  if (starts("\0<\0?"sv)) return "UTF-16BE";
  if (!starts("<?xml"sv)) return {};
  const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
  std::size_t at = declaration.find("encoding");
  if (at == std::string_view::npos) return {};
  at = declaration.find_first_not_of(" \t\r\n", at + 8);
  if (at == std::string_view::npos || declaration[at] != '=') return {};
  at = declaration.find_first_not_of(" \t\r\n", at + 1);
  if (at == std::string_view::npos || (declaration[at] != '"' && declaration[at] != '\'')) {
    return {};
  }
  const std::size_t end = declaration.find(declaration[at], at + 1);
  if (end == std::string_view::npos) return {};
  std::string name(declaration.substr(at + 1, end - at - 1));
  std::string upper = name;
  for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  return upper == "UTF-8" || upper == "UTF8" ? std::string() : name;
}

// The document decoded from `encoding` to UTF-8; empty when the encoding is not known here
// (libxml2 then names it in its refusal); `failed` when the bytes do not decode, with the text
// decoded up to the line of the first that does not.
#if defined(_WIN32)
// UTF-16 and UTF-32 by the standard library's converter of `Unit` to UTF-8.
template <typename Unit>
std::optional<std::string> decode_units(std::string_view bytes, bool big_endian, bool& failed) {
  std::basic_string<Unit> units(bytes.size() / sizeof(Unit), Unit{});
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t value = 0;
    for (std::size_t k = 0; k < sizeof(Unit); ++k) {
      const auto byte = static_cast<unsigned char>(bytes[i * sizeof(Unit) + k]);
      value |= std::uint32_t{byte} << (8 * (big_endian ? sizeof(Unit) - 1 - k : k));
    }
    units[i] = static_cast<Unit>(value);
  }
  failed = bytes.size() % sizeof(Unit) != 0;
  using Converter = std::codecvt<Unit, char8_t, std::mbstate_t>;
  const auto& converter = std::use_facet<Converter>(std::locale::classic());
  std::mbstate_t state{};
  std::u8string text(units.size() * 4, u8'\0');
  const Unit* from_next = nullptr;
  char8_t* to_next = nullptr;
  const auto result = converter.out(state, units.data(), units.data() + units.size(), from_next,
                                    text.data(), text.data() + text.size(), to_next);
  if (result != std::codecvt_base::ok) failed = true;
  text.resize(static_cast<std::size_t>(to_next - text.data()));
  return std::string(text.begin(), text.end());
}

// The Windows code page of an encoding name, 0 when there is none.
UINT code_page(std::string upper) {
  struct Name {
    const char* name;
    UINT page;
  };
  static const Name names[] = {
      {"US-ASCII", 20127},    {"ASCII", 20127},       {"ISO-8859-1", 28591}, {"LATIN1", 28591},
      {"ISO-8859-2", 28592},  {"ISO-8859-3", 28593},  {"ISO-8859-4", 28594}, {"ISO-8859-5", 28595},
      {"ISO-8859-6", 28596},  {"ISO-8859-7", 28597},  {"ISO-8859-8", 28598}, {"ISO-8859-9", 28599},
      {"ISO-8859-13", 28603}, {"ISO-8859-15", 28605}, {"KOI8-R", 20866},     {"KOI8-U", 21866},
      {"SHIFT_JIS", 932},     {"SJIS", 932},          {"EUC-JP", 20932},     {"GB2312", 936},
      {"GBK", 936},           {"GB18030", 54936},     {"BIG5", 950},         {"EUC-KR", 51949},
      {"UTF-7", 65000},       {"IBM437", 437},        {"CP437", 437},        {"IBM850", 850},
      {"CP850", 850}};
  for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  for (const Name& n : names) {
    if (upper == n.name) return n.page;
  }
  // WINDOWS-1250 ... WINDOWS-1258 and CP1250 ... CP1258.
  for (const char* prefix : {"WINDOWS-", "CP"}) {
    const std::string_view p(prefix);
    if (upper.size() == p.size() + 4 && upper.compare(0, p.size(), p) == 0 &&
        upper.compare(p.size(), 3, "125") == 0 && upper.back() >= '0' && upper.back() <= '8') {
      return static_cast<UINT>(1250 + (upper.back() - '0'));
    }
  }
  return 0;
}

std::optional<std::string> decode(std::string_view bytes, const std::string& encoding,
                                  bool& failed) {
  failed = false;
  if (encoding == "UTF-16LE" || encoding == "UTF-16BE") {
    return decode_units<char16_t>(bytes, encoding[6] == 'B', failed);
  }
  if (encoding == "UTF-32LE" || encoding == "UTF-32BE") {
    return decode_units<char32_t>(bytes, encoding[6] == 'B', failed);
  }
  const UINT page = code_page(encoding);
  if (page == 0 || !IsValidCodePage(page)) return std::nullopt;
  // Line by line, so a failure names the line of the bytes that do not decode.
  const DWORD flags = page == 65000 ? 0 : MB_ERR_INVALID_CHARS;
  std::string text;
  std::wstring wide;
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
    const std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end);
    const int size = static_cast<int>(line.size());
    wide.resize(line.size());
    const int count = MultiByteToWideChar(page, flags, line.data(), size, wide.data(), size);
    const int length = count > 0 ? WideCharToMultiByte(CP_UTF8, 0, wide.data(), count, nullptr, 0,
                                                       nullptr, nullptr)
                                 : 0;
    if (count <= 0 || length <= 0) {
      failed = true;
      break;
    }
    const std::size_t at = text.size();
    text.resize(at + static_cast<std::size_t>(length));
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), count, text.data() + at, length, nullptr, nullptr);
  }
  return text;
}
#else
std::optional<std::string> decode(std::string_view bytes, const std::string& encoding,
                                  bool& failed) {
  failed = false;
  const iconv_t converter = iconv_open("UTF-8", encoding.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string text;
  std::vector<char> in(bytes.begin(), bytes.end());
  char* from = in.data();
  std::size_t from_left = in.size();
  char chunk[65536];
  while (from_left > 0) {
    char* to = chunk;
    std::size_t to_left = sizeof chunk;
    const std::size_t rc = iconv(converter, &from, &from_left, &to, &to_left);
    text.append(chunk, sizeof chunk - to_left);
    if (rc == static_cast<std::size_t>(-1) && errno != E2BIG) {
      failed = true;  // an invalid or an incomplete sequence
      break;
    }
  }
  iconv_close(converter);
  return text;
}

#endif

// Reads the file, but never more than `limit` + 1 bytes, so a file that grows is still caught;
// false when it cannot be read.
bool read_file(const std::filesystem::path& name, std::uint64_t limit, std::string& bytes) {
  std::ifstream in(name, std::ios::binary);
  if (!in) return false;
  char chunk[65536];
  while (in && bytes.size() <= limit) {
    in.read(chunk, sizeof chunk);
    bytes.append(chunk, static_cast<std::size_t>(in.gcount()));
  }
  return !in.bad();
}

class XmlDocumentFactory final : public axmDocumentFactory {
 public:
  XmlDocumentFactory() { prepare_libxml2(); }

  std::shared_ptr<axmDocument> load_document(const apPath& path, const axmLoadOptions& options,
                                             axmParseError& error) const override {
    error.clear();
    const std::filesystem::path name = path.filesystem_path();
    std::error_code ec;
    if (name.empty() || !std::filesystem::is_regular_file(name, ec)) {
      error.set(-1, -1, apString(apStringLiteral, L"The path does not name a readable file."));
      return nullptr;
    }
    // A parser input is at most INT_MAX bytes long, whatever limit the caller allows.
    const std::uint64_t limit =
        std::min<std::uint64_t>(options.max_document_size(), std::uint64_t{INT_MAX} - 1);
    const std::uintmax_t size = std::filesystem::file_size(name, ec);
    std::string bytes;
    if (!ec && size > limit) {
      error.set(-1, -1, too_large(limit));
      return nullptr;
    }
    if (ec || !read_file(name, limit, bytes)) {
      error.set(-1, -1, apString(apStringLiteral, L"The file could not be read."));
      return nullptr;
    }
    if (bytes.size() > limit) {  // the file grew while we looked at it
      error.set(-1, -1, too_large(limit));
      return nullptr;
    }
    if (bytes.empty()) {
      error.set(-1, -1, apString(apStringLiteral, L"The document is empty."));
      return nullptr;
    }
    std::size_t skip = 0;
    const std::string encoding = announced_encoding(bytes, skip);
    if (encoding.empty()) return parse(bytes, false, error);
    bool failed = false;
    const std::optional<std::string> text =
        decode(std::string_view(bytes).substr(skip), encoding, failed);
    if (!text) return parse(bytes, false, error);
    if (failed) {
      // The line of the first bytes that do not decode; the column is not known.
      const int line = 1 + static_cast<int>(std::count(text->begin(), text->end(), '\n'));
      error.set(line, -1, from_utf8("The document's bytes are not valid " + encoding + " text."));
      return nullptr;
    }
    if (text->size() > limit) {
      error.set(-1, -1, too_large(limit));
      return nullptr;
    }
    return parse(*text, true, error);
  }

 private:
  static apString too_large(std::uint64_t limit) {
    return apString(L"The file is larger than " + std::to_wstring(limit) +
                    L" bytes, the most a document may have.");
  }

  // Parses `bytes`; `decoded` when they are UTF-8 text decoded here, whose declaration may still
  // name the encoding they came in.
  static std::shared_ptr<axmDocument> parse(const std::string& bytes, bool decoded,
                                            axmParseError& error) {
    xmlParserCtxtPtr ctxt = xmlCreateMemoryParserCtxt(bytes.data(), static_cast<int>(bytes.size()));
    if (!ctxt) {
      error.set(-1, -1, apString(apStringLiteral, L"The XML parser could not be set up."));
      return nullptr;
    }
    LoadState state;
    ctxt->_private = &state;
    xmlSAXHandler* sax = ctxt->sax;
    sax->serror = on_error;
    sax->entityDecl = on_entity_declaration;
    sax->unparsedEntityDecl = on_unparsed_entity_declaration;
    sax->internalSubset = on_internal_subset;
    sax->externalSubset = nullptr;
    sax->resolveEntity = on_resolve_entity;
    sax->reference = on_entity_reference;
    // No NOENT, DTDLOAD, DTDATTR or DTDVALID: entities stay unexpanded and no DTD is fetched.
    // NOERROR and NOWARNING leave every message to the context's structured handler above.
    xmlCtxtUseOptions(ctxt, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                                (decoded ? XML_PARSE_IGNORE_ENC : 0));
    xmlParseDocument(ctxt);

    xmlDoc* doc = ctxt->myDoc;
    ctxt->myDoc = nullptr;
    const bool well_formed = ctxt->wellFormed != 0;
    xmlFreeParserCtxt(ctxt);

    const LoadState::Problem* problem = nullptr;
    if (state.refusal.set) {
      problem = &state.refusal;
    } else if (!well_formed || !doc) {
      problem = state.first_fatal.set ? &state.first_fatal : &state.first_error;
    }
    if (!problem && holds_entity_nodes(doc)) {
      static const LoadState::Problem entities{true, -1, -1,
                                               "The document declares or refers to entities."};
      problem = &entities;
    }
    if (!problem && !xmlDocGetRootElement(doc)) {
      static const LoadState::Problem no_root{true, -1, -1, "The document has no root element."};
      problem = &no_root;
    }
    if (problem) {
      if (doc) xmlFreeDoc(doc);
      error.set(problem->line, problem->column,
                from_utf8(problem->set ? problem->message : "The document is not well formed."));
      return nullptr;
    }
    return std::make_shared<XmlDocument>(doc);
  }
};

// Registers the factory as the "xml" service while the library is being loaded, so a reader finds
// it without the host doing anything; a host may register its own under the same name later.
[[maybe_unused]] const bool g_registered = utService::get_instance()->register_service(
    utServiceName(utString("xml")), axmDocumentFactory::create_default());

}  // namespace

std::shared_ptr<axmDocumentFactory> axmDocumentFactory::create_default() {
  return std::make_shared<XmlDocumentFactory>();
}
