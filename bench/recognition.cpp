// Pictures full of interface text, and how much of it is read: for recognition.sh.
//   recognition draw FOLDER           KIND.png and KIND.txt, the words drawn
//   recognition read FOLDER KIND      seconds, and of the words drawn those that were read
//   recognition score FOLDER KIND OUT the same for the text that another program wrote to OUT
//   recognition show FILE.png         each line read with its box, a number for each block
//   recognition scan FILE.png         seconds, and what Smart Redact would cover

#include <fmt/format.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "base/enum_names.hpp"
#include "platform/linux/linux_phone_number_finder.hpp"
#include "platform/linux/linux_text_recogniser.hpp"
#include "text/phone_detector.hpp"
#include "text/smart_redact.hpp"

namespace {

using namespace vantorel;

constexpr int pictureWidth = 1920;
constexpr int pictureHeight = 1080;

class Screen {
 public:
  Screen()
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, pictureWidth, pictureHeight)),
        context_(cairo_create(surface_)) {}
  ~Screen() {
    cairo_destroy(context_);
    cairo_surface_destroy(surface_);
  }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  void fill(double x, double y, double width, double height, unsigned color) {
    use(color);
    cairo_rectangle(context_, x, y, width, height);
    cairo_fill(context_);
  }

  /// Answers the width of the text.
  int write(double x, double y, const std::string& text, const std::string& font, double size,
            unsigned color) {
    PangoLayout* const layout = pango_cairo_create_layout(context_);
    PangoFontDescription* const description = pango_font_description_from_string(font.c_str());
    pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
    pango_layout_set_font_description(layout, description);
    pango_layout_set_text(layout, text.c_str(), -1);
    int width = 0;
    pango_layout_get_pixel_size(layout, &width, nullptr);
    use(color);
    cairo_move_to(context_, x, y);
    pango_cairo_show_layout(context_, layout);
    pango_font_description_free(description);
    g_object_unref(layout);
    written_ += text + "\n";
    return width;
  }

  void save(const std::string& path) {
    cairo_surface_flush(surface_);
    cairo_surface_write_to_png(surface_, (path + ".png").c_str());
    std::ofstream(path + ".txt") << written_;
  }

 private:
  void use(unsigned color) {
    cairo_set_source_rgb(context_, (color >> 16) / 255.0, (color >> 8 & 255U) / 255.0,
                         (color & 255U) / 255.0);
  }

  cairo_surface_t* surface_;
  cairo_t* context_;
  std::string written_;
};

constexpr std::array<const char*, 64> vocabulary{
    "Settings", "Open",     "the",      "window",   "of",       "capture",  "History", "Account",
    "Inbox",    "messages", "2024",     "Tuesday",  "Project",  "file",     "changes", "Update",
    "Save",     "Cancel",   "library",  "Network",  "12:45",    "14.99",    "Search",  "View",
    "Help",     "and",      "password", "Invoice",  "#4711",    "Customer", "Total",   "status",
    "pending",  "review",   "Berlin",   "London",   "quarter",  "meeting",  "budget",  "Anna",
    "Miller",   "will",     "illegal",  "Illinois", "report",   "download", "folder",  "Documents",
    "version",  "3.11.2",   "enabled",  "keyboard", "shortcut", "display",  "monitor", "right",
    "left",     "panel",    "toolbar",  "selected", "item",     "85%",      "OK",      "Quit"};

class Words {
 public:
  explicit Words(unsigned seed) : random_(seed) {}

  std::string some(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      if (i > 0) text += ' ';
      text += vocabulary.at(random_() % vocabulary.size());
    }
    return text;
  }

  std::string token(int length, const std::string& letters) {
    std::string text;
    for (int i = 0; i < length; ++i) text += letters[random_() % letters.size()];
    return text;
  }

  unsigned number(unsigned below) { return static_cast<unsigned>(random_() % below); }

 private:
  std::mt19937 random_;
};

const std::string lettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

void lines(Screen& screen, Words& words, double x, double width, const std::string& font,
           double size, unsigned color, double spacing) {
  const int count = std::max(static_cast<int>(width / (size * 4.6)), 1);
  for (double y = 20; y + spacing < pictureHeight; y += spacing) {
    screen.write(x, y, words.some(count), font, size, color);
  }
}

void drawInterface(Screen& screen) {
  Words words(1);
  screen.fill(0, 0, 1920, 1080, 0xf6f5f4);
  for (int column = 0; column < 6; ++column) {
    const double x = 20 + column * 315;
    screen.fill(x - 8, 10, 300, 1060, 0xffffff);
    for (double y = 20; y < 1050; y += 22) {
      screen.write(x, y, words.some(3), "DejaVu Sans", 11, column % 2 == 0 ? 0x2e3436 : 0x777777);
    }
  }
}

void drawDark(Screen& screen) {
  Words words(2);
  screen.fill(0, 0, 1920, 1080, 0x1e1e1e);
  screen.fill(0, 0, 260, 1080, 0x252526);
  constexpr std::array<unsigned, 5> colors{0xd4d4d4, 0x569cd6, 0xce9178, 0x6a9955, 0xdcdcaa};
  for (double y = 12; y < 1050; y += 19)
    screen.write(20, y, words.some(2), "DejaVu Sans", 12, 0xcccccc);
  int row = 0;
  for (double y = 12; y < 1050; y += 20, ++row) {
    double x = 300 + row % 4 * 34;
    for (int part = 0; part < 4; ++part) {
      x += screen.write(x, y, words.some(3), "DejaVu Sans Mono", 14,
                        colors.at(words.number(colors.size()))) +
           9;
    }
  }
}

void drawMixed(Screen& screen) {
  Words words(3);
  screen.fill(0, 0, 1920, 1080, 0xffffff);
  screen.fill(0, 0, 300, 1080, 0x2c2c34);
  screen.fill(300, 0, 1620, 48, 0x3584e4);
  for (int i = 0; i < 10; ++i)
    screen.write(330 + i * 150, 14, words.some(1), "DejaVu Sans Bold", 14, 0xffffff);
  int row = 0;
  for (double y = 20; y < 1040; y += 30, ++row) {
    if (row % 6 == 2) screen.fill(8, y - 5, 284, 26, 0x3584e4);
    screen.write(20, y, words.some(2), "DejaVu Sans", 13, row % 6 == 2 ? 0xffffff : 0xb8b8c0);
  }
  row = 0;
  for (double y = 70; y < 1040; y += 26, ++row) {
    if (row % 5 == 4) {
      for (int i = 0; i < 5; ++i) {
        const unsigned color = i % 2 == 0 ? 0xc01c28 : 0x26a269;
        screen.fill(340 + i * 300, y - 4, 140, 26, color);
        screen.write(356 + i * 300, y, words.some(1), "DejaVu Sans", 12, 0xffffff);
      }
    } else {
      screen.write(340, y, words.some(18), row % 5 == 0 ? "Nimbus Sans" : "DejaVu Sans", 13,
                   row % 3 == 0 ? 0x1a5fb4 : 0x241f31);
    }
  }
}

void drawPage(Screen& screen) {
  Words words(4);
  screen.fill(0, 0, 1920, 1080, 0xffffff);
  lines(screen, words, 60, 1700, "DejaVu Sans", 16, 0x202020, 28);
}

void drawDense(Screen& screen) {
  Words words(5);
  screen.fill(0, 0, 1920, 1080, 0xffffff);
  screen.write(60, 4, words.some(4), "DejaVu Serif", 28, 0x000000);
  for (double y = 48; y < 1060; y += 28) {
    screen.write(60, y, words.some(24), "DejaVu Sans", 28.0 / 2.4, 0x303030);
    screen.fill(50, y + 20, 1800, 1, 0xdddddd);
  }
}

void drawSharp(Screen& screen) {
  Words words(6);
  screen.fill(0, 0, 1920, 1080, 0x242424);
  lines(screen, words, 60, 1650, "DejaVu Sans", 26, 0xf0f0f0, 44);
}

void drawTokens(Screen& screen, bool isDark) {
  Words words(7);
  screen.fill(0, 0, 1920, 1080, isDark ? 0x1c1c20 : 0xffffff);
  const unsigned color = isDark ? 0xe0e0e0 : 0x202020;
  constexpr std::array<const char*, 2> fonts{"DejaVu Sans Mono", "DejaVu Sans"};
  int row = 0;
  for (double y = 20; y < 1050; y += 24, ++row) {
    const std::string font = fonts.at(static_cast<std::size_t>(row) % 2);
    const double size = 11 + row / 2 % 3;
    const std::string hex = words.token(48, "0123456789abcdef");
    const std::string key = "sk-" + words.token(32, lettersAndDigits);
    const std::string mail = "ghp_" + words.token(36, lettersAndDigits);
    screen.write(40, y, hex, font, size, color);
    screen.write(640, y, key, font, size, color);
    screen.write(1200, y, mail, font, size, color);
  }
}

struct Kind {
  const char* name;
  void (*draw)(Screen&);
};

constexpr Kind kinds[] = {
    {"interface-11px", drawInterface},
    {"dark-editor", drawDark},
    {"mixed", drawMixed},
    {"page-16px", drawPage},
    {"dense-12px", drawDense},
    {"sharp-26px-dark", drawSharp},
    {"tokens-light", [](Screen& screen) { drawTokens(screen, false); }},
    {"tokens-dark", [](Screen& screen) { drawTokens(screen, true); }},
};

std::vector<std::string> wordsIn(std::istream& text) {
  std::vector<std::string> found;
  for (std::string word; text >> word;) found.push_back(word);
  return found;
}

std::string score(const std::string& path, const std::vector<std::string>& read) {
  std::ifstream file(path + ".txt");
  std::map<std::string, int> left;
  for (const std::string& word : read) ++left[word];
  int drawn = 0;
  int right = 0;
  for (const std::string& word : wordsIn(file)) {
    ++drawn;
    if (left[word]-- > 0) ++right;
  }
  return fmt::format("{:5} of {} words ({:.1f} %), {} read", right, drawn, 100.0 * right / drawn,
                     read.size());
}

Image loaded(const std::string& path) {
  cairo_surface_t* const surface = cairo_image_surface_create_from_png((path + ".png").c_str());
  const PixelSize size{cairo_image_surface_get_width(surface),
                       cairo_image_surface_get_height(surface)};
  MutableImage image(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    std::memcpy(image.row(y).data(),
                cairo_image_surface_get_data(surface) +
                    static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface),
                image.row(y).size());
  }
  cairo_surface_destroy(surface);
  return std::move(image).finish();
}

int read(const std::string& path) {
  const Image picture = loaded(path);
  LinuxTextRecogniser recogniser;
  ReadingRequest request;
  request.readsCodes = std::getenv("CODES") != nullptr;
  if (const char* const factor = std::getenv("FACTOR")) request.enlargement = std::atof(factor);
  const auto begin = std::chrono::steady_clock::now();
  const std::clock_t started = std::clock();
  const auto reading = recogniser.read(picture, request, {});
  const double worked = static_cast<double>(std::clock() - started) / CLOCKS_PER_SEC;
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
  if (!reading) {
    fmt::print(stderr, "{}\n", sentence(reading.error()));
    return 1;
  }
  std::string text;
  for (const ReadBlock& block : reading->blocks) {
    for (const ReadLine& line : block.lines) text += line.text() + "\n";
  }
  std::istringstream words(text);
  fmt::print("{:.2f} s, {:.2f} s of work  {}\n", spent.count(), worked,
             score(path, wordsIn(words)));
  if (const char* const output = std::getenv("OUTPUT")) std::ofstream(output) << text;
  return 0;
}

int show(const std::string& path) {
  LinuxTextRecogniser recogniser;
  ReadingRequest request;
  if (const char* const factor = std::getenv("FACTOR")) request.enlargement = std::atof(factor);
  const auto reading = recogniser.read(loaded(path), request, {});
  if (!reading) {
    fmt::print(stderr, "{}\n", sentence(reading.error()));
    return 1;
  }
  int number = 0;
  for (const ReadBlock& block : reading->blocks) {
    for (const ReadLine& line : block.lines) {
      fmt::print("{} {:4},{:4} {:4}x{:<3} {:.2f}  {}\n", number, line.box.x, line.box.y,
                 line.box.width, line.box.height, line.confidence, line.text());
      if (std::getenv("WORDS") == nullptr) continue;
      for (const ReadWord& word : line.words) {
        fmt::print("    {}-{} {}", word.box.x, word.box.right(), word.letters.size());
        for (const ReadLetter& letter : word.letters)
          fmt::print(" {}:{:.2f}", letter.text, letter.confidence);
        fmt::print("\n");
      }
    }
    ++number;
  }
  return 0;
}

int scan(const std::string& path) {
  const SmartRedact smartRedact(
      {std::make_shared<LinuxTextRecogniser>(), nullptr,
       std::make_shared<SensitiveTextDetector>(std::make_shared<LinuxPhoneNumberFinder>(),
                                               phoneRegions("de_DE.UTF-8"))});
  const auto begin = std::chrono::steady_clock::now();
  const auto outcome = smartRedact.run(loaded(path), 1, {}, {});
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
  if (!outcome) {
    fmt::print(stderr, "{}\n", sentence(outcome.error()));
    return 1;
  }
  for (const auto& [kind, rect, match, text] : outcome->proposals) {
    fmt::print("{:<10} {:4},{:4} {:4}x{:<3} {} {}\n", nameOf(kind), rect.x, rect.y, rect.w, rect.h,
               match, text);
  }
  fmt::print("{:.2f} s\n", spent.count());
  return 0;
}

}  // namespace

int main(int count, char** values) {
  const std::vector<std::string> arguments(values + 1, values + count);
  if (arguments.size() == 2 && arguments[0] == "draw") {
    for (const Kind& kind : kinds) {
      Screen screen;
      kind.draw(screen);
      screen.save(arguments[1] + "/" + kind.name);
      fmt::print("{}\n", kind.name);
    }
    return 0;
  }
  if (arguments.size() == 2 && (arguments[0] == "show" || arguments[0] == "scan")) {
    const std::string path = arguments[1].substr(0, arguments[1].rfind(".png"));
    return arguments[0] == "show" ? show(path) : scan(path);
  }
  if (arguments.size() == 3 && arguments[0] == "read") {
    return read(arguments[1] + "/" + arguments[2]);
  }
  if (arguments.size() == 4 && arguments[0] == "score") {
    std::ifstream text(arguments[3]);
    fmt::print("{}\n", score(arguments[1] + "/" + arguments[2], wordsIn(text)));
    return 0;
  }
  fmt::print(stderr, "recognition draw|read|score|show|scan FOLDER ...\n");
  return 2;
}
