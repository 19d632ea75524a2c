#include "platform/linux/testing/secret_samples.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <functional>

namespace vantorel {
namespace {

using Kind = SensitiveMatchKind;

std::string grouped(const std::string& text, const std::vector<int>& sizes, char between) {
  std::string out;
  std::size_t at = 0;
  for (std::size_t i = 0; at < text.size(); ++i) {
    const auto size = static_cast<std::size_t>(sizes[std::min(i, sizes.size() - 1)]);
    if (at > 0) out += between;
    out += text.substr(at, size);
    at += size;
  }
  return out;
}

int luhnSum(const std::string& digits) {
  int sum = 0;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    int value = digits[digits.size() - 1 - i] - '0';
    if (i % 2 == 1) value = value * 2 > 9 ? value * 2 - 9 : value * 2;
    sum += value;
  }
  return sum;
}

std::string card(Letters& letters, bool isValid) {
  const bool isAmex = letters.below(5) == 0;
  std::string digits =
      isAmex ? "37" + letters.digits(12) : letters.any({"4", "51", "55", "6011"}) + std::string();
  while (digits.size() < (isAmex ? 14U : 15U)) digits += letters.digits(1);
  const int check = (10 - luhnSum(digits + "0") % 10) % 10;
  digits += static_cast<char>('0' + (check + (isValid ? 0 : 1 + letters.below(8))) % 10);
  const int form = letters.below(3);
  if (form == 0) return digits;
  return grouped(digits, isAmex ? std::vector<int>{4, 6, 5} : std::vector<int>{4},
                 form == 1 ? ' ' : '-');
}

std::string iban(Letters& letters, bool isValid) {
  std::string country = letters.any({"DE", "GB", "FR", "NL"});
  std::string account = country == "DE"   ? letters.digits(18)
                        : country == "GB" ? "WEST" + letters.digits(14)
                        : country == "FR" ? letters.digits(21) + "02"
                                          : "ABNA" + letters.digits(10);
  int remainder = 0;
  for (const char c : account + country + "00") {
    const int value = c >= 'A' ? c - 'A' + 10 : c - '0';
    remainder = (remainder * (value > 9 ? 100 : 10) + value) % 97;
  }
  const int check = 98 - remainder;
  std::string number = country + fmt::format("{:02}", check) + account;
  if (!isValid) number.back() = static_cast<char>('0' + (number.back() - '0' + 1) % 10);
  return letters.below(2) == 0 ? number : grouped(number, {4}, ' ');
}

std::string key(Letters& letters) {
  switch (letters.below(6)) {
    case 0: return "sk-" + letters.token(20 + letters.below(28)) + "a";
    case 1:
      return fmt::format("gh{}_{}", letters.any({"p", "o", "u", "s", "r"}), letters.alnum(36));
    case 2: return "github_pat_" + letters.alnum(22) + "_" + letters.alnum(40);
    case 3: return "AKIA" + letters.of("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567", 16);
    case 4:
      return fmt::format("xox{}-{}-{}", letters.any({"b", "p"}), letters.digits(11),
                         letters.alnum(24));
    default: return "AIza" + letters.token(34) + "a";
  }
}

std::string jwt(Letters& letters) {
  return "eyJ" + letters.token(17 + letters.below(20)) + "." +
         letters.token(30 + letters.below(90)) + "." + letters.token(42) + "a";
}

std::string secret(Letters& letters) {
  if (letters.below(2) == 0) return letters.hex(48 + letters.below(80));
  // All three kinds of letters, as forty random ones nearly always have.
  std::string text =
      "aB3" + letters.of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
                         38 + letters.below(48));
  if (text.size() % 4 == 1) text += 'x';
  while (text.size() % 4 != 0) text += '=';
  return text;
}

std::string mail(Letters& letters) {
  return letters.any({"jane", "j.doe", "o.hara+news", "info", "jörg", "first_last", "x"}) +
         (letters.below(2) == 0 ? letters.digits(2) : "") + "@" +
         letters.any({"example.com", "mail.example.co.uk", "büro.example.de", "team.internal",
                      "example.museum", "a-b.example.org"});
}

std::string link(Letters& letters) {
  const std::string host = letters.any({"example.com", "docs.example.org", "shop.example.co.uk",
                                        "münchen.example.de", "example.io"});
  switch (letters.below(5)) {
    case 0: return "https://" + host + "/" + letters.alnum(6) + "?id=" + letters.digits(4);
    case 1: return "http://" + host + ":8080/a_(b)";
    case 2: return "www." + host;
    case 3: return host + "/" + letters.of("abcdefgh", 5);
    default: return host;
  }
}

std::string phone(Letters& letters) {
  switch (letters.below(9)) {
    case 0:
      return fmt::format("({}) {}{}-{}", letters.any({"212", "415", "312"}),
                         letters.any({"2", "6"}), letters.digits(2), letters.digits(4));
    case 1:
      return fmt::format("+1 {} {}{} {}", letters.any({"646", "206"}), letters.any({"3", "7"}),
                         letters.digits(2), letters.digits(4));
    case 2: return "+49 30 90" + letters.digits(6);
    case 3: return fmt::format("0171 {}{}", letters.any({"2", "5", "7"}), letters.digits(6));
    case 4: return "020 7946 0" + letters.digits(3);
    case 5: return "+44 7400 " + letters.digits(6);
    case 6: return "06 12 " + letters.digits(2) + " " + letters.digits(2) + " " + letters.digits(2);
    case 7:
      return "+33 1 42 " + letters.digits(2) + " " + letters.digits(2) + " " + letters.digits(2);
    default: return "+31 20 62" + letters.digits(5);
  }
}

std::string address(Letters& letters) {
  const std::string number = std::to_string(1 + letters.below(200));
  const std::string between = letters.below(2) == 0 ? ", " : "\n";
  switch (letters.below(7)) {
    case 0:
      return number + " " + letters.any({"Maple", "Fifth", "Martin Luther King", "W 42nd"}) + " " +
             letters.any({"Street", "Ave", "Blvd"}) + between +
             letters.any({"Springfield", "New York"}) + std::string(", NY 1") + letters.digits(4);
    case 1:
      return number + std::string(letters.any({" Baker Street", " St James's Square"})) + between +
             "London" + between + "SW1A 1AA";
    case 2:
      return letters.any({"Hauptstraße ", "Lange Straße ", "Ahornweg ", "Karl-Marx-Allee "}) +
             number + between +
             letters.any({"10115 Berlin", "60311 Frankfurt am Main", "80331 München"});
    case 3:
      return number +
             letters.any({" rue de la République", ", avenue des Champs-Élysées",
                          " bis boulevard Saint-Michel"}) +
             between + letters.any({"75008 Paris", "69002 Lyon CEDEX 02"});
    case 4:
      return letters.any({"Keizersgracht ", "Nieuwe Herengracht ", "Van der Helststraat "}) +
             number + between + "1015 CJ Amsterdam";
    case 5: return "P.O. Box " + number + between + "Austin, TX 787" + letters.digits(2);
    default:
      return letters.any({"Springfield, IL 62704", "1017 AB Amsterdam", "221B Baker Street",
                          "Am Markt 3, 99423 Weimar"});
  }
}

}  // namespace

std::string sampleSecret(Kind kind, Letters& letters) {
  switch (kind) {
    case Kind::email: return mail(letters);
    case Kind::phone: return phone(letters);
    case Kind::url: return link(letters);
    case Kind::address: return address(letters);
    case Kind::cardNumber: return card(letters, true);
    case Kind::iban: return iban(letters, true);
    case Kind::jwt: return jwt(letters);
    case Kind::apiKey: return key(letters);
    default: return secret(letters);
  }
}

std::string sampleNearMiss(Kind kind, Letters& letters) {
  const auto choose = [&](const std::vector<std::function<std::string()>>& makers) {
    return makers[static_cast<std::size_t>(letters.below(static_cast<int>(makers.size())))]();
  };
  const auto small = [&](int count) { return letters.of("abcdefghijklmnop", count); };
  switch (kind) {
    case Kind::email:
      return choose({[&] { return "@" + small(6); },
                     [&] { return small(5) + "@4.17." + letters.digits(2); },
                     [&] { return "icon_" + small(4) + "@2x.png"; },
                     [&] { return small(4) + "@" + small(5); },
                     [&] { return small(4) + " at " + small(6) + " dot com"; },
                     [&] { return "a @ " + small(4); }});
    case Kind::phone:
      return choose({[&] {
                       return "2024-0" + std::to_string(1 + letters.below(9)) + "-1" +
                              letters.digits(1) + " 12:34:56";
                     },
                     [&] {
                       return "192.168." + std::to_string(letters.below(255)) + "." +
                              std::to_string(letters.below(255));
                     },
                     [&] { return "order #1" + letters.digits(7); },
                     [&] { return "ISBN 978-3-16-1" + letters.digits(5) + "-0"; },
                     [&] { return "1" + letters.digits(3) + "," + letters.digits(3) + ".00 USD"; },
                     [&] { return "10.0." + letters.digits(5) + "." + letters.digits(4); },
                     [&] { return "pid 1" + letters.digits(6); },
                     [&] { return "17" + letters.digits(8) + "." + letters.digits(3); }});
    case Kind::url:
      return choose({[&] { return small(5) + ".cpp"; },
                     [&] { return "v1." + letters.digits(1) + "." + letters.digits(2); },
                     [&] { return small(5) + "." + small(4) + "()"; },
                     [&] { return "com.example." + small(5); }, [&] { return "README.md"; },
                     [&] { return small(4) + ".tar.gz"; },
                     [&] { return "src/" + small(4) + ".rs"; }, [&] { return "e.g."; },
                     [&] { return "3." + letters.digits(5); },
                     [&] { return "end.Next " + small(4); }});
    case Kind::address:
      return choose({[&] { return "row " + letters.digits(2) + " of 5"; },
                     [&] { return "Chapter " + letters.digits(1) + " Page " + letters.digits(2); },
                     [&] { return letters.digits(2) + " items in 3 boxes"; },
                     [&] { return "the street with 12 houses"; },
                     [&] { return "Version 1" + letters.digits(1) + " Update"; },
                     [&] { return "Platz 3 von 7"; },
                     [&] { return "1" + letters.digits(4) + " files changed"; },
                     [&] { return "Im Jahr 20" + letters.digits(2); }});
    case Kind::cardNumber:
      return choose({[&] { return card(letters, false); }, [&] { return "4" + letters.digits(11); },
                     [&] { return "4" + letters.digits(19); }});
    case Kind::iban:
      return choose({[&] { return iban(letters, false); }, [&] { return "DE89 3704 0044"; }});
    case Kind::jwt:
      return choose({[&] { return "eyJ" + small(8) + "." + small(9); },
                     [&] { return "eyJ" + small(8) + ".abc." + small(9); },
                     [&] { return "xeyJ" + small(8) + "." + small(7) + "." + small(9); }});
    case Kind::apiKey:
      return choose({[&] { return "sk-" + small(9); },
                     [&] { return "xAKIA" + letters.of("ABCDEFGH", 16); },
                     [&] { return "AKIA" + letters.of("ABCDEFGH", 15); },
                     [&] { return "ghp_" + small(12); }, [&] { return "task-" + small(18); }});
    default:
      return choose({[&] { return letters.hex(40); }, [&] { return letters.hex(47); },
                     [&] { return letters.hex(32); },
                     [&] {
                       return letters.hex(8) + "-" + letters.hex(4) + "-4" + letters.hex(3) + "-a" +
                              letters.hex(3) + "-" + letters.hex(12);
                     },
                     [&] { return "/usr/share/Documents/Projects2/" + small(7) + "/Sources/Main"; },
                     [&] { return letters.of("abcdefghijklmnopqrstuvwxyz", 44); }});
  }
}

}  // namespace vantorel
