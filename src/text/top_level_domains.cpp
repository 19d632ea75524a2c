#include "text/top_level_domains.hpp"

#include <set>

namespace vantorel {
namespace {

using Labels = std::set<std::string_view>;

/// Files, members of objects and English words end in these as well.
const Labels& ambiguousEndings() {
  static const Labels labels{"ac",         "ad", "ai",   "am",  "app", "as",   "bz", "cc", "cd",
                             "cfg",        "cl", "do",   "foo", "gz",  "hm",   "id", "im", "in",
                             "is",         "kt", "la",   "lc",  "mk",  "ml",   "mm", "mo", "mov",
                             "ms",         "my", "name", "new", "om",  "page", "pl", "pm", "prof",
                             "properties", "ps", "py",   "rs",  "run", "sc",   "sh", "so", "st",
                             "sv",         "td", "tf",   "vc",  "zip", "md",   "mp"};
  return labels;
}

const Labels& hostEndings() {
  static const Labels labels{
      // generic
      "com", "org", "net", "edu", "gov", "mil", "int", "info", "biz", "pro", "coop", "museum",
      "aero", "jobs", "mobi", "travel", "tel", "cat", "asia", "post", "academy", "agency",
      "amsterdam", "art", "auction", "band", "bank", "bar", "bayern", "beer", "berlin", "bet",
      "bike", "bio", "blog", "boutique", "brussels", "build", "business", "buzz", "cafe", "camp",
      "capital", "cards", "care", "careers", "casa", "cash", "center", "chat", "church", "city",
      "click", "clinic", "cloud", "club", "coach", "codes", "coffee", "college", "cologne",
      "community", "company", "computer", "consulting", "cool", "dance", "dating", "deals",
      "delivery", "dental", "design", "dev", "digital", "direct", "directory", "doctor", "dog",
      "domains", "earth", "education", "email", "energy", "engineering", "estate", "eus", "events",
      "exchange", "expert", "express", "family", "fans", "farm", "fashion", "film", "finance",
      "financial", "fish", "fit", "fitness", "florist", "football", "frl", "fun", "fund",
      "furniture", "gal", "gallery", "game", "games", "garden", "gift", "gifts", "global", "gmbh",
      "gold", "golf", "graphics", "group", "guide", "guru", "hamburg", "haus", "health", "help",
      "holdings", "holiday", "horse", "hospital", "host", "hosting", "hotel", "house", "immo",
      "immobilien", "industries", "ink", "institute", "insurance", "international", "investments",
      "istanbul", "jetzt", "kaufen", "kiwi", "koeln", "land", "law", "lawyer", "legal", "life",
      "lighting", "limited", "live", "loan", "loans", "lol", "london", "love", "ltd", "madrid",
      "management", "market", "marketing", "media", "melbourne", "menu", "miami", "moda", "moe",
      "money", "movie", "nagoya", "network", "news", "ngo", "ninja", "nrw", "nyc", "one", "ong",
      "online", "organic", "paris", "parts", "party", "pet", "photo", "photography", "photos",
      "pics", "pictures", "pizza", "plumbing", "plus", "poker", "press", "productions", "promo",
      "pub", "quebec", "realty", "recipes", "red", "reisen", "rent", "rentals", "repair", "report",
      "republican", "restaurant", "review", "reviews", "rip", "rocks", "ruhr", "saarland", "sale",
      "salon", "school", "schule", "science", "scot", "security", "services", "shop", "shopping",
      "show", "singles", "site", "ski", "soccer", "social", "software", "solar", "solutions",
      "space", "store", "stream", "studio", "style", "supply", "support", "surf", "swiss", "sydney",
      "systems", "tax", "taxi", "team", "tech", "technology", "tennis", "theater", "tickets",
      "tips", "tirol", "today", "tokyo", "tools", "top", "tours", "town", "toys", "trade",
      "trading", "training", "university", "vacations", "vegas", "ventures", "versicherung", "vet",
      "video", "villas", "vin", "vip", "vision", "vote", "voyage", "wales", "watch", "webcam",
      "website", "wedding", "wien", "wiki", "win", "wine", "work", "works", "world", "wtf", "xyz",
      "yoga", "zone", "zuerich", "arpa", "onion",
      // of countries and regions
      "ae", "af", "ag", "al", "ao", "aq", "ar", "at", "au", "aw", "ax", "az", "ba", "bb", "bd",
      "be", "bf", "bg", "bh", "bi", "bj", "bm", "bn", "bo", "br", "bs", "bt", "bw", "by", "ca",
      "cf", "cg", "ch", "ci", "ck", "cm", "cn", "co", "cr", "cu", "cv", "cw", "cx", "cy", "cz",
      "de", "dj", "dk", "dm", "dz", "ec", "ee", "eg", "er", "es", "et", "eu", "fi", "fj", "fk",
      "fm", "fo", "fr", "ga", "gd", "ge", "gf", "gg", "gh", "gi", "gl", "gm", "gn", "gp", "gq",
      "gr", "gs", "gt", "gu", "gw", "gy", "hk", "hn", "hr", "ht", "hu", "ie", "il", "io", "iq",
      "ir", "it", "je", "jm", "jo", "jp", "ke", "kg", "kh", "ki", "km", "kn", "kp", "kr", "kw",
      "ky", "kz", "lb", "li", "lk", "lr", "ls", "lt", "lu", "lv", "ly", "ma", "mc", "me", "mg",
      "mh", "mn", "mq", "mr", "mt", "mu", "mv", "mw", "mx", "mz", "na", "nc", "ne", "nf", "ng",
      "ni", "nl", "no", "np", "nr", "nu", "nz", "pa", "pe", "pf", "pg", "ph", "pk", "pn", "pr",
      "pt", "pw", "qa", "re", "ro", "ru", "rw", "sa", "sb", "sd", "se", "sg", "si", "sk", "sl",
      "sm", "sn", "sr", "ss", "su", "sx", "sy", "sz", "tc", "tg", "th", "tj", "tk", "tl", "tm",
      "tn", "to", "tr", "tt", "tv", "tw", "tz", "ua", "ug", "uk", "us", "uy", "uz", "va", "ve",
      "vg", "vi", "vn", "vu", "wf", "ws", "ye", "yt", "za", "zm", "zw",
      // in other scripts
      "рф", "рус", "бг", "укр", "қаз", "срб", "мкд", "бел", "мон", "москва", "сайт", "онлайн", "ελ",
      "ευ", "հայ", "გე", "中国", "中國", "公司", "网络", "网址", "在线", "香港", "台湾", "台灣",
      "新加坡", "한국", "みんな", "भारत", "ไทย", "امارات", "السعودية", "مصر", "ایران", "المغرب"};
  return labels;
}

}  // namespace

DomainEnding domainEnding(std::string_view label) {
  if (hostEndings().contains(label) || label.starts_with("xn--")) return DomainEnding::host;
  return ambiguousEndings().contains(label) ? DomainEnding::ambiguous : DomainEnding::unknown;
}

}  // namespace vantorel
