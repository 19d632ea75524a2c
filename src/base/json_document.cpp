#include "base/json_document.hpp"

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "base/json_fault.hpp"

namespace vantorel::json {

namespace dom = simdjson::dom;

struct DocumentStorage {
  dom::document document;
  Tape tape;
};

namespace {

double doubleNear(std::string_view text) {
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

/// A copy of a text with the room behind it that the parser reads into.
class PaddedText {
 public:
  void assign(std::string_view text) {
    length_ = text.size();
    if (capacity_ < length_ + simdjson::SIMDJSON_PADDING) {
      capacity_ = length_ + simdjson::SIMDJSON_PADDING;
      characters_ = std::make_unique_for_overwrite<char[]>(capacity_);
    }
    std::ranges::copy(text, characters_.get());
    std::fill_n(characters_.get() + length_, simdjson::SIMDJSON_PADDING, '\0');
  }

  [[nodiscard]] std::string_view text() const { return {characters_.get(), length_}; }

 private:
  std::unique_ptr<char[]> characters_;
  std::size_t length_ = 0;
  std::size_t capacity_ = 0;
};

simdjson::error_code parsePadded(dom::parser& parser, dom::document& document,
                                 std::string_view padded) {
  if (parser.capacity() < padded.size() || parser.max_depth() == 0) {
    if (const auto error = parser.allocate(padded.size(), Document::maximumDepth)) return error;
  }
  return parser.parse_into_document(document, padded.data(), padded.size(), false).error();
}

Result<void> parseInto(dom::parser& parser, DocumentStorage& storage, PaddedText& copy,
                       std::string_view text) try {
  storage.tape.numberMark.clear();
  copy.assign(text);
  simdjson::error_code error = parsePadded(parser, storage.document, copy.text());
  if (error == simdjson::NUMBER_ERROR) {
    std::string quoted(text);
    storage.tape.numberMark = quoteGreatNumbers(quoted);
    if (!storage.tape.numberMark.empty()) {
      copy.assign(quoted);
      error = parsePadded(parser, storage.document, copy.text());
    }
  }
  if (error == simdjson::MEMALLOC) return failed(FailureKind::noSpace, "not enough memory");
  if (error) return failed(FailureKind::malformed, simdjson::error_message(error));
  storage.tape.words = storage.document.tape.get();
  storage.tape.strings = reinterpret_cast<const char*>(storage.document.string_buf.get());
  return {};
} catch (const std::bad_alloc&) {
  return failed(FailureKind::noSpace, "not enough memory");
}

/// The first word of a tape stands for the whole.
constexpr std::size_t rootWord = 1;

}  // namespace

std::optional<double> Cursor::clampedDouble() const {
  if (mark() != '"' || !isCarriedNumber()) return std::nullopt;
  return doubleNear(characters().substr(tape_->numberMark.size()));
}

std::optional<std::int64_t> Cursor::clampedInt() const {
  const std::optional<double> number = asDouble();
  if (!number) return std::nullopt;
  if (*number >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
  if (*number < -0x1p63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(*number);
}

JSONValue Cursor::toValue() const {
  switch (kind()) {
    case Kind::null: return {nullptr};
    case Kind::boolean: return {*asBool()};
    case Kind::integer: return {*asInt()};
    case Kind::string: return {std::string(*asString())};
    case Kind::number: {
      if (mark() == '"') {
        return {NumberText{std::string(characters().substr(tape_->numberMark.size()))}};
      }
      if (mark() == 'u') return {NumberText{std::to_string(tape_->words[at_ + 1])}};
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

namespace {

/// The library's message without its name of the error and its full stop.
std::string_view clause(std::string_view message) {
  const auto colon = message.find(": ");
  const bool isName = message.substr(0, colon).find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_8") ==
                      std::string_view::npos;
  if (colon != std::string_view::npos && isName) message.remove_prefix(colon + 2);
  while (message.ends_with('.')) message.remove_suffix(1);
  return message;
}

}  // namespace

Result<Document> Document::parse(std::string_view text) {
  // Some editors put a mark before the text that says it is UTF-8.
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  auto storage = std::make_unique<DocumentStorage>();
  dom::parser parser;
  PaddedText copy;
  if (auto done = parseInto(parser, *storage, copy, text); !done) {
    Failure failure = std::move(done).error();
    if (failure.kind == FailureKind::malformed) {
      std::string why(clause(failure.reason));
      if (why.starts_with("The ")) why[0] = 't';
      failure.reason = fmt::format("{}, in line {}", why, faultLine(text));
    }
    return std::unexpected(std::move(failure));
  }
  return Document(std::move(storage));
}

Cursor Document::root() const { return {&storage_->tape, rootWord}; }

struct DocumentParser::Memory {
  dom::parser parser;
  DocumentStorage storage;
  PaddedText copy;
};

DocumentParser::DocumentParser() : memory_(std::make_unique<Memory>()) {}
DocumentParser::~DocumentParser() = default;

Result<Cursor> DocumentParser::parse(std::string_view text) {
  VT_TRY(parseInto(memory_->parser, memory_->storage, memory_->copy, text));
  return Cursor(&memory_->storage.tape, rootWord);
}

Result<JSONValue> parseValue(std::string_view text) {
  const Document document = VT_TRY(Document::parse(text));
  return document.root().toValue();
}

}  // namespace vantorel::json
