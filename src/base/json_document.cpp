#include "base/json_document.hpp"

#include <simdjson.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace vantorel::json {

namespace dom = simdjson::dom;

struct DocumentStorage {
  dom::document document;

  /// Not empty when numbers that no machine type holds were carried through the parser as strings
  /// that begin with this mark. No string of the text begins with it.
  std::string numberMark;
};

namespace {

template <class Part, class Words>
Part as(Words words) {
  static_assert(sizeof(Part) == sizeof(Words) && std::is_trivially_copyable_v<Part>);
  return std::bit_cast<Part>(words);
}

std::optional<std::string_view> stringOf(const DocumentStorage& storage, dom::element element) {
  if (!element.is_string()) return std::nullopt;
  const std::string_view text = element.get_string().value_unsafe();
  if (!storage.numberMark.empty() && text.starts_with(storage.numberMark)) return std::nullopt;
  return text;
}

/// The text of a number that was carried as a string.
std::optional<std::string_view> numberTextOf(const DocumentStorage& storage, dom::element element) {
  if (storage.numberMark.empty() || !element.is_string()) return std::nullopt;
  const std::string_view text = element.get_string().value_unsafe();
  if (!text.starts_with(storage.numberMark)) return std::nullopt;
  return text.substr(storage.numberMark.size());
}

double clampedDouble(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc::result_out_of_range) return number;
  // Too large and too small look the same to from_chars; the exponent's sign tells them apart.
  const std::size_t exponent = text.find_first_of("eE");
  if (exponent != std::string_view::npos && text[exponent + 1] == '-') return 0;
  const double largest = std::numeric_limits<double>::max();
  return text.front() == '-' ? -largest : largest;
}

bool isNumberCharacter(char c) {
  return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

/// The number grammar of JSON; text that does not follow it must go on being refused.
bool isNumber(std::string_view text) {
  std::size_t at = 0;
  const auto digits = [&] {
    const std::size_t from = at;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
    return at - from;
  };
  if (at < text.size() && text[at] == '-') ++at;
  const std::size_t whole = at;
  const std::size_t count = digits();
  if (count == 0 || (count > 1 && text[whole] == '0')) return false;
  if (at < text.size() && text[at] == '.') {
    ++at;
    if (digits() == 0) return false;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    ++at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
    if (digits() == 0) return false;
  }
  return at == text.size();
}

bool isHeldByMachineType(std::string_view text) {
  const char* const end = text.data() + text.size();
  if (text.find_first_of(".eE") == std::string_view::npos) {
    std::int64_t integer = 0;
    return std::from_chars(text.data(), end, integer).ec == std::errc{};
  }
  double number = 0;
  return std::from_chars(text.data(), end, number).ec == std::errc{};
}

/// Puts every number that no machine type holds in quotes behind a mark that no string of the text
/// begins with. Answers the mark, empty when there was no such number.
std::string quoteGreatNumbers(std::string& text) {
  std::string mark = "number:";
  while (text.find("\"" + mark) != std::string::npos) mark.insert(mark.begin(), '#');
  std::string out;
  std::size_t copied = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') ++i;
      if (c == '"') inString = false;
      continue;
    }
    if (c == '"') {
      inString = true;
      continue;
    }
    if (c != '-' && (c < '0' || c > '9')) continue;
    std::size_t end = i;
    while (end < text.size() && isNumberCharacter(text[end])) ++end;
    const std::string_view number = std::string_view(text).substr(i, end - i);
    if (isNumber(number) && !isHeldByMachineType(number)) {
      out.append(text, copied, i - copied).append("\"").append(mark).append(number).append("\"");
      copied = end;
    }
    i = end - 1;
  }
  if (copied == 0) return {};
  out.append(text, copied);
  text = std::move(out);
  return mark;
}

simdjson::error_code parseInto(dom::parser& parser, dom::document& document, std::string& text) {
  if (parser.capacity() < text.size() || parser.max_depth() == 0) {
    if (const auto error = parser.allocate(text.size(), Document::maximumDepth)) return error;
  }
  text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
  return parser.parse_into_document(document, text.data(), text.size(), false).error();
}

/// Parses `text`, which is changed where it has numbers that no machine type holds.
Result<void> parseInto(dom::parser& parser, DocumentStorage& storage, std::string& text) {
  storage.numberMark.clear();
  simdjson::error_code error = parseInto(parser, storage.document, text);
  if (error == simdjson::NUMBER_ERROR) {
    storage.numberMark = quoteGreatNumbers(text);
    if (!storage.numberMark.empty()) error = parseInto(parser, storage.document, text);
  }
  if (error == simdjson::MEMALLOC) return failed(FailureKind::noSpace, "not enough memory");
  if (error) return failed(FailureKind::malformed, simdjson::error_message(error));
  return {};
}

}  // namespace

Kind Cursor::kind() const {
  const auto element = as<dom::element>(element_);
  switch (element.type()) {
    case dom::element_type::ARRAY: return Kind::array;
    case dom::element_type::OBJECT: return Kind::object;
    case dom::element_type::INT64: return Kind::integer;
    case dom::element_type::UINT64:
    case dom::element_type::DOUBLE: return Kind::number;
    case dom::element_type::STRING:
      return numberTextOf(*storage_, element) ? Kind::number : Kind::string;
    case dom::element_type::BOOL: return Kind::boolean;
    case dom::element_type::NULL_VALUE: break;
  }
  return Kind::null;
}

std::optional<bool> Cursor::asBool() const {
  bool value = false;
  if (as<dom::element>(element_).get_bool().get(value)) return std::nullopt;
  return value;
}

std::optional<std::int64_t> Cursor::asInt() const {
  std::int64_t integer = 0;
  if (!as<dom::element>(element_).get_int64().get(integer)) return integer;
  const std::optional<double> number = asDouble();
  if (!number) return std::nullopt;
  if (*number >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
  if (*number < -0x1p63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(*number);
}

std::optional<double> Cursor::asDouble() const {
  const auto element = as<dom::element>(element_);
  double number = 0;
  if (!element.get_double().get(number)) return number;
  if (const auto text = numberTextOf(*storage_, element)) return clampedDouble(*text);
  return std::nullopt;
}

std::optional<std::string_view> Cursor::asString() const {
  return stringOf(*storage_, as<dom::element>(element_));
}

Cursor::Items Cursor::items() const {
  Items items;
  dom::array array;
  if (as<dom::element>(element_).get_array().get(array)) return items;
  items.storage_ = storage_;
  items.at_ = std::bit_cast<Words>(array.begin());
  items.end_ = std::bit_cast<Words>(array.end());
  return items;
}

bool Cursor::Items::next(Cursor& item) {
  if (storage_ == nullptr) return false;
  auto at = as<dom::array::iterator>(at_);
  if (!(at != as<dom::array::iterator>(end_))) return false;
  item = Cursor(storage_, std::bit_cast<Words>(*at));
  at_ = std::bit_cast<Words>(++at);
  return true;
}

Cursor::Members Cursor::members() const {
  Members members;
  dom::object object;
  if (as<dom::element>(element_).get_object().get(object)) return members;
  members.storage_ = storage_;
  members.at_ = std::bit_cast<Words>(object.begin());
  members.end_ = std::bit_cast<Words>(object.end());
  return members;
}

bool Cursor::Members::next(std::string_view& key, Cursor& value) {
  if (storage_ == nullptr) return false;
  auto at = as<dom::object::iterator>(at_);
  if (!(at != as<dom::object::iterator>(end_))) return false;
  key = at.key();
  value = Cursor(storage_, std::bit_cast<Words>(at.value()));
  at_ = std::bit_cast<Words>(++at);
  return true;
}

JSONValue Cursor::toValue() const {
  switch (kind()) {
    case Kind::null: return {nullptr};
    case Kind::boolean: return {*asBool()};
    case Kind::integer: return {*asInt()};
    case Kind::string: return {std::string(*asString())};
    case Kind::number: {
      const auto element = as<dom::element>(element_);
      if (const auto text = numberTextOf(*storage_, element)) {
        return {NumberText{std::string(*text)}};
      }
      std::uint64_t great = 0;
      if (!element.get_uint64().get(great)) {
        return {NumberText{std::to_string(great)}};
      }
      return {*asDouble()};
    }
    case Kind::array: {
      JSONValue::Array array;
      Cursor item;
      for (Items all = items(); all.next(item);) array.push_back(item.toValue());
      return {std::move(array)};
    }
    case Kind::object: {
      Object object;
      std::string_view key;
      Cursor member;
      for (Members all = members(); all.next(key, member);) {
        object.push_back({std::string(key), member.toValue()});
      }
      return {std::move(object)};
    }
  }
  std::unreachable();
}

Document::Document(std::unique_ptr<DocumentStorage> storage) : storage_(std::move(storage)) {}
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;
Document::~Document() = default;

Result<Document> Document::parse(std::string text) {
  auto storage = std::make_unique<DocumentStorage>();
  dom::parser parser;
  VT_TRY(parseInto(parser, *storage, text));
  return Document(std::move(storage));
}

Cursor Document::root() const {
  return {storage_.get(), std::bit_cast<Cursor::Words>(storage_->document.root())};
}

struct DocumentParser::Memory {
  dom::parser parser;
  DocumentStorage storage;
  std::string text;
};

DocumentParser::DocumentParser() : memory_(std::make_unique<Memory>()) {}
DocumentParser::~DocumentParser() = default;

Result<Cursor> DocumentParser::parse(std::string_view text) {
  memory_->text.assign(text);
  VT_TRY(parseInto(memory_->parser, memory_->storage, memory_->text));
  return Cursor(&memory_->storage, std::bit_cast<Cursor::Words>(memory_->storage.document.root()));
}

Result<JSONValue> parseValue(std::string text) {
  const Document document = VT_TRY(Document::parse(std::move(text)));
  return document.root().toValue();
}

}  // namespace vantorel::json
