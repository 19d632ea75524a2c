#include "base/folded_text.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace vantorel {
namespace {

using std::literals::operator""sv;

// What each letter of a block of Unicode is without case and accent; 0 where it stays as it is.
constexpr auto latinLetters =
    u"aaaaaaæceeeeiiiidnooooo\0ouuuuyþßaaaaaaæceeeeiiiidnooooo\0ouuuuyþy"
    u"aaaaaaccccccccddddeeeeeeeeeegggggggghhhhiiiiiiiiiiĳĳjjkkĸlllllll"
    u"lllnnnnnnŉŋŋooooooœœrrrrrrssssssssttttŧŧuuuuuuuuuuuuwwyyyzzzzzzs"
    u"ƀɓƃƃƅƅɔƈƈɖɗƌƌƍǝəɛƒƒɠɣƕɩɨƙƙƚƛɯɲƞɵooƣƣƥƥʀƨƨʃƪƫƭƭʈuuʊʋƴƴƶƶʒƹƹƺƻƽƽƾƿ"
    u"ǀǁǂǃǆǆǆǉǉǉǌǌǌaaiioouuuuuuuuuuǝaaaaææǥǥggkkooooʒʒjǳǳǳggƕƿnnaaææoo"
    u"aaaaeeeeiiiioooorrrruuuussttȝȝhhƞȡȣȣȥȥaaeeooooooooyyȴȵȶȷȸȹⱥȼȼƚⱦȿ"
    u"ɀɂɂƀʉʌɇɇɉɉɋɋɍɍɏɏ"sv;

constexpr auto greekLetters =
    u"ͱͱͳͳʹ\0ͷͷ\0\0ͺͻͼͽ\0ϳ\0\0\0\0\0\0α\0εηι\0ο\0υωιαβγδεζηθικλμνξοπρ\0στυφχψωιυαεηι"
    u"υαβγδεζηθικλμνξοπρσστυφχψωιυουωϗϐϑϒϒϒϕϖϗϙϙϛϛϝϝϟϟϡϡϣϣϥϥϧϧϩϩϫϫϭϭϯϯ"
    u"ϰϱϲϳθϵ\0ϸϸϲϻϻϼͻͼͽ"sv;

constexpr auto cyrillicLetters =
    u"ееђгєѕііјљњћкиуџабвгдежзииклмнопрстуфхцчшщъыьэюяабвгдежзииклмноп"
    u"рстуфхцчшщъыьэюяееђгєѕііјљњћкиуџѡѡѣѣѥѥѧѧѩѩѫѫѭѭѯѯѱѱѳѳѵѵѵѵѹѹѻѻѽѽѿѿ"
    u"ҁҁ\0\0\0\0\0\0\0\0ҋҋҍҍҏҏґґғғҕҕҗҗҙҙққҝҝҟҟҡҡңңҥҥҧҧҩҩҫҫҭҭүүұұҳҳҵҵҷҷҹҹһһҽҽҿҿ"
    u"ӏжжӄӄӆӆӈӈӊӊӌӌӎӎӏааааӕӕееәәәәжжззӡӡииииооөөөөээууууууччӷӷыыӻӻӽӽӿӿ"
    u"ԁԁԃԃԅԅԇԇԉԉԋԋԍԍԏԏԑԑԓԓԕԕԗԗԙԙԛԛԝԝԟԟԡԡԣԣԥԥԧԧԩԩԫԫԭԭԯԯ"sv;

constexpr auto latinAdditionalLetters =
    u"aabbbbbbccddddddddddeeeeeeeeeeffgghhhhhhhhhhiiiikkkkkkllllllllmm"
    u"mmmmnnnnnnnnoooooooopppprrrrrrrrssssssssssttttttttuuuuuuuuuuvvvv"
    u"wwwwwwwwwwxxxxyyzzzzzzhtwyẚsẜẝßẟaaaaaaaaaaaaaaaaaaaaaaaaeeeeeeee"
    u"eeeeeeeeiiiioooooooooooooooooooooooouuuuuuuuuuuuuuyyyyyyyyỻỻỽỽỿỿ"sv;

struct Block {
  char32_t first;
  std::u16string_view letters;
};
constexpr std::array blocks{Block{0xC0, latinLetters}, Block{0x370, greekLetters},
                            Block{0x400, cyrillicLetters}, Block{0x1E00, latinAdditionalLetters}};

/// Some letters are two.
constexpr std::array pairs{std::pair{U'ß', "ss"sv}, std::pair{U'ẞ', "ss"sv},
                           std::pair{U'æ', "ae"sv}, std::pair{U'Æ', "ae"sv},
                           std::pair{U'œ', "oe"sv}, std::pair{U'Œ', "oe"sv}};

constexpr bool isCombiningMark(char32_t letter) { return letter >= 0x300 && letter < 0x370; }

void append(char32_t letter, std::string& text) {
  const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
  if (letter < 0x80) return put(letter);
  if (letter < 0x800) {
    put(0xC0 | letter >> 6);
  } else {
    put(0xE0 | letter >> 12);
    put(0x80 | (letter >> 6 & 0x3F));
  }
  put(0x80 | (letter & 0x3F));
}

/// The letter of two or three bytes at the beginning of `text`, and how many it has; 0 letters of
/// others, whose bytes stay.
std::pair<char32_t, std::size_t> letterAt(std::string_view text) {
  const auto byte = [&](std::size_t i) -> char32_t { return static_cast<unsigned char>(text[i]); };
  const auto continues = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };
  if ((byte(0) & 0xE0) == 0xC0 && continues(1)) {
    return {(byte(0) & 0x1F) << 6 | (byte(1) & 0x3F), 2};
  }
  if ((byte(0) & 0xF0) == 0xE0 && continues(1) && continues(2)) {
    return {(byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F), 3};
  }
  return {0, 1};
}

void appendFolded(char32_t letter, std::string& text) {
  if (isCombiningMark(letter)) return;
  for (const auto& [one, two] : pairs) {
    if (one == letter) {
      text += two;
      return;
    }
  }
  for (const Block& block : blocks) {
    if (letter < block.first || letter >= block.first + block.letters.size()) continue;
    if (const char16_t folded = block.letters[letter - block.first]; folded != 0) letter = folded;
    break;
  }
  append(letter, text);
}

constexpr char lowerASCII(char byte) {
  return static_cast<char>(byte + ((byte >= 'A' && byte <= 'Z') ? 'a' - 'A' : 0));
}

/// How many bytes of ASCII `text` begins with.
std::size_t asciiLength(std::string_view text) {
  std::size_t length = 0;
  for (std::uint64_t eight = 0; length + sizeof eight <= text.size(); length += sizeof eight) {
    std::memcpy(&eight, text.data() + length, sizeof eight);
    if ((eight & 0x8080808080808080U) != 0) break;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
  return length;
}

}  // namespace

std::string foldedText(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    if (const std::size_t plain = asciiLength(text.substr(i)); plain > 0) {
      const std::size_t begin = folded.size();
      folded.append(text, i, plain);
      for (char& byte : std::span(folded).subspan(begin)) byte = lowerASCII(byte);
      i += plain;
      continue;
    }
    const char byte = text[i];
    const auto [letter, length] = letterAt(text.substr(i));
    if (letter == 0) {
      folded += byte;
    } else {
      appendFolded(letter, folded);
    }
    i += length;
  }
  return folded;
}

}  // namespace vantorel
