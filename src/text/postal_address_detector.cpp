#include "text/postal_address_detector.hpp"

#include <algorithm>
#include <string>

#include "text/regex.hpp"

namespace vantorel {
namespace {

// The forms are put together of these. Repetitions are bounded, and so is the work at each place.

/// What stands between the lines of an address, or in the place of their ends.
const std::string between = R"((?:,?[ \t]*\r?\n[ \t]*|,[ ]{0,2}|[ ]+[·|–-][ ]+))";
const std::string notInWord = R"((?<![\p{L}\d._/@-]))";
const std::string notBeforeWord = R"((?![\p{L}\d_/@]))";
const std::string properName = R"(\p{Lu}[\p{L}'’.-]{0,24})";
const std::string town = properName + R"((?:[ ])" + properName + R"(){0,3})";
const std::string country =
    "(?:" + between +
    "(?:USA|U\\.S\\.A\\.|United States(?: of America)?|UK|U\\.K\\.|United Kingdom|England|Scotland|"
    "Wales|Great Britain|Germany|Deutschland|France|Netherlands|The Netherlands|Nederland|Austria|"
    "Österreich|Switzerland|Schweiz|Suisse|Belgium|België|Belgique)(?![\\p{L}]))?";

const std::string states =
    "(?:A[LKZR]|C[AOT]|D[CE]|FL|GA|HI|I[ADLN]|K[SY]|LA|M[ADEINOST]|N[CDEHJMVY]|O[HKR]|P[AR]|RI|"
    "S[CD]|T[NX]|UT|V[AT]|W[AIVY]|Alabama|Alaska|Arizona|Arkansas|California|Colorado|Connecticut|"
    "Delaware|Florida|Georgia|Hawaii|Idaho|Illinois|Indiana|Iowa|Kansas|Kentucky|Louisiana|Maine|"
    "Maryland|Massachusetts|Michigan|Minnesota|Mississippi|Missouri|Montana|Nebraska|Nevada|New "
    "Hampshire|New Jersey|New Mexico|New York|North Carolina|North Dakota|Ohio|Oklahoma|Oregon|"
    "Pennsylvania|Rhode Island|South Carolina|South Dakota|Tennessee|Texas|Utah|Vermont|Virginia|"
    "Washington|West Virginia|Wisconsin|Wyoming)";
const std::string americanTown = town + R"((?:,[ ]?|[ ]))" + states + R"([ ]{1,2}\d{5}(?:-\d{4})?)";

/// The areas of the codes are not any letters.
const std::string britishCode =
    "(?:A[BL]|B[ABDHLNRST]?|C[ABFHMORTVW]|D[ADEGHLNTY]|E[CHNX]?|F[KY]|G[LU]?|H[ADGPRSUX]|I[GMPV]|"
    "K[ATWY]|L[ADELNSU]?|M[EKL]?|N[EGNPRW]?|O[LX]|P[AEHLOR]|R[GHM]|S[AEGKLMNOPRSTWY]?|T[ADFNQRSW]|"
    "UB|W[ACDFNRSV]?|YO|ZE)\\d[A-Z\\d]?[ ]\\d[ABD-HJLNP-UW-Z]{2}";

const std::string direction =
    "(?:N|S|E|W|NE|NW|SE|SW|North|South|East|West|Northeast|Northwest|Southeast|Southwest)\\.?";
const std::string unitWord =
    "(?:Apt|Apartment|Suite|Ste|Unit|Flat|Floor|Fl|Room|Rm|Bldg|Building)\\.?";
const std::string englishStreetWord =
    "(?:Street|St|Avenue|Ave|Road|Rd|Boulevard|Blvd|Drive|Dr|Lane|Ln|Court|Ct|Place|Pl|Square|Sq|"
    "Terrace|Ter|Parkway|Pkwy|Highway|Hwy|Circle|Cir|Way|Trail|Trl|Loop|Plaza|Crescent|Close|"
    "Gardens|Gdns|Grove|Mews|Walk|Row|Hill|Green|Wharf|Quay|Yard|Embankment|Expressway|"
    "Turnpike|Alley|Point|Ridge|Run|Crossing)";
const std::string englishStreet =
    "(?:" + unitWord + R"([ ][A-Za-z0-9]{1,5},?[ \n])?)" +
    R"(\d{1,5}[A-Za-z]?(?:[-–]\d{1,5})?,?[ ](?:)" + direction + R"([ ])?(?:(?:)" + properName +
    R"(|\d{1,3}(?:st|nd|rd|th))[ ]){1,4}?)" + englishStreetWord + R"(\b\.?(?:[ ])" + direction +
    R"((?!\p{L}))?)" + "(?:(?:" + between + "|[ ])(?:" + unitWord +
    R"([ ]#?|#)[A-Za-z0-9-]{1,6}\b)?)";

const std::string germanTown =
    R"((?:(?:D|DE|A|AT|CH)[- ])?\d{4,5}[ ]\p{Lu}[\p{L}.-]{1,24}(?:[ ](?:\p{Lu}[\p{L}./-]{1,24})"
    R"(|am|an der|im|bei|ob der|vor der|a\.[ ]?[A-Z]\.|\(\p{L}[\p{L} .]{1,20}\))){0,3})";
const std::string houseNumber = R"([ ]\d{1,4}(?:[ ]?[a-zA-Z]\b)?(?:[ ]?[-–/+][ ]?\d{1,4}[a-z]?)?)";
/// Words that hardly end in one of these by chance.
const std::string germanStreet =
    "(?:(?:" + properName +
    R"([ ]){0,3}\p{Lu}[\p{L}.-]{0,28}(?:straße|strasse|str\.|weg|platz|allee|gasse|damm|ufer|)"
    R"(chaussee|promenade|pfad|steig|brücke)|(?:)" +
    properName +
    R"([ ]){1,3}(?:Straße|Strasse|Str\.|Weg|Platz|Allee|Gasse|Damm|Ufer|Chaussee|Promenade)|)"
    R"((?:Straße|Platz|Allee|Weg)[ ](?:des|der|am)[ ](?:\d{1,2}\.[ ])?\p{Lu}\p{L}{1,24}))";
/// Those that do, so that the town must follow.
const std::string germanPlace =
    R"((?:(?:Am|An der|An den|Auf dem|Auf der|Im|In der|In den|Unter den|Zum|Zur|Hinter dem|)"
    R"(Hinter der|Bei der|Beim|Vor dem|Alter|Alte|Neuer|Neue|Großer|Kleine)[ ]\p{Lu}[\p{L}-]{2,24}|)"
    R"(\p{Lu}[\p{L}.-]{1,28}))";

const std::string frenchTown =
    R"((?:F-)?\d{5}[ ]\p{Lu}[\p{L}'’-]{1,30}(?:[ ](?:\p{Lu}[\p{L}'’-]{0,24}|sur|sous|les|lès|le|la|)"
    R"(en|de|du|aux|cedex|CEDEX|\d{1,2}(?!\d))){0,5})";
const std::string frenchStreet =
    R"(\d{1,4}(?:[ ]?(?:bis|ter|quater|[A-D]))?,?[ ](?i:rue|avenue|av\.|boulevard|bd|boul\.|place|)"
    R"(chemin|allée|allées|impasse|quai|route|cours|square|passage|faubourg|villa|sentier|esplanade|)"
    R"(rond-point|montée|ruelle|promenade)(?:[ ](?:(?:[lLdD]['’])?\p{Lu}[\p{L}'’.-]{0,24}|)"
    R"([lLdD]['’]\p{L}{1,24}|(?i:de|du|des|la|le|les|et|à|aux|au|sur|en|saint|sainte|général|)"
    R"(docteur|président)(?!\p{L})|\d{1,4})){1,7})";

const std::string dutchCode = R"([1-9]\d{3}[ ]?(?!SA|SD|SS)[A-Z]{2})";
const std::string dutchStreet =
    R"((?:(?:\p{Lu}[\p{L}'’.-]{0,24}|van|der|den|de|het|ten|ter|'t|\d{1,2}e)[ ]){0,4})"
    R"((?:\p{Lu}[\p{L}'’.-]{0,28})(?:straat|laan|weg|plein|gracht|kade|singel|dijk|dreef|steeg|)"
    R"(burgwal|pad|hof|haven|baan|markt)[ ]\d{1,4}(?:[- ]?[A-Za-z]{1,2}\b|[- ](?:\d{1,3}|[IVX]{1,4}|)"
    R"(hs|bis)\b)?)";

std::string optional(const std::string& form) { return "(?:" + form + ")?"; }

std::vector<Regex> makeForms() {
  const std::string britishTail =
      "(?:" + between + town + "){0,4}?(?:" + between + "|[ ])" + britishCode;
  const std::string germanTail = between + germanTown;
  const std::string dutchTail = between + dutchCode + "(?:,?[ ]{1,2}" + R"((?:'s-)?)" + town + ")?";
  const std::string forms[] = {
      notInWord + englishStreet +
          optional(between + americanTown + "|" + britishTail + "|" + between + town + between +
                   states + R"([ ]\d{5})") +
          country + notBeforeWord,
      notInWord + americanTown + country + notBeforeWord,
      notInWord + optional(town + between) + britishCode + country + notBeforeWord,
      notInWord + R"((?i:P[.,]?[ ]?[O0][.,]?[ ]Box)[ ]\d{1,6})" +
          optional(between + americanTown + "|" + britishTail) + country + notBeforeWord,
      notInWord + germanStreet + houseNumber + optional(germanTail) + country + notBeforeWord,
      notInWord + germanPlace + houseNumber + germanTail + country + notBeforeWord,
      R"((?m)^(?:[ \t]*)\K)" + germanTown + R"((?=[ \t]*\r?$))",
      notInWord + R"((?:D|DE|A|AT|CH|F)-\d{4,5}[ ])" + town + country + notBeforeWord,
      notInWord + R"(Postfach[ ]\d[\d ]{1,8})" + optional(germanTail) + country + notBeforeWord,
      notInWord + frenchStreet + optional("(?:" + between + "|[ ])" + frenchTown) + country +
          notBeforeWord,
      notInWord + frenchTown + R"([ ](?i:cedex)(?:[ ]\d{1,2})?)" + country + notBeforeWord,
      notInWord + dutchStreet + optional(dutchTail) + country + notBeforeWord,
      notInWord +
          R"([1-9]\d{3}[ ](?!SA|SD|SS)[A-Z]{2},?[ ]{1,2}(?:'s-)?\p{Lu}\p{Ll}[\p{L}'’.-]{1,24})" +
          R"((?:[ ](?:\p{Lu}[\p{L}'’.-]{1,24}|aan|den|de|bij)){0,4})" + country + notBeforeWord,
      notInWord + R"(Postbus[ ]\d{1,6})" + optional(dutchTail) + country + notBeforeWord,
  };
  std::vector<Regex> compiled;
  for (const std::string& form : forms) compiled.emplace_back(form);
  return compiled;
}

const std::vector<Regex>& forms() {
  static const std::vector<Regex> compiled = makeForms();
  return compiled;
}

/// "10000 Euro" alone on a line is no town with its code.
bool isAmount(std::string_view text) {
  constexpr std::string_view units[] = {"Euro",   "EUR",   "USD",   "Dollar",   "Items",    "Files",
                                        "Rows",   "Lines", "Bytes", "Stück",    "Results",  "Meter",
                                        "Points", "Words", "Users", "Requests", "Kilometer"};
  const std::size_t blank = text.find(' ');
  return blank != text.npos && std::ranges::find(units, text.substr(blank + 1)) != std::end(units);
}

}  // namespace

std::vector<SensitiveMatch> postalAddressesIn(std::string_view text) {
  std::vector<TextRange> ranges;
  for (const Regex& form : forms()) {
    Regex::Search search(form, text);
    std::size_t from = 0;
    while (const auto match = search.next(from)) {
      from = match->end;
      if (!isAmount(text.substr(match->begin, match->length()))) ranges.push_back(*match);
    }
  }
  std::ranges::sort(ranges);
  std::vector<SensitiveMatch> found;
  for (const TextRange& range : ranges) {
    if (!found.empty() && range.begin <= found.back().range.end) {
      found.back().range.end = std::max(found.back().range.end, range.end);
    } else {
      found.push_back({SensitiveMatchKind::address, range});
    }
  }
  return found;
}

}  // namespace vantorel
