#include "support/text.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdint>
#include <cwctype>

namespace vellandra {
namespace {

/// Windows-1252 0x80 to 0x9F; the five unassigned bytes stand for the control characters of the same number.
constexpr std::array<char32_t, 32> windows1252High = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                                      0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

void appendUtf8(std::string& out, char32_t c) {
  const auto byte = [&out](char32_t value) { out.push_back(static_cast<char>(value)); };
  if (c < 0x80) {
    byte(c);
  } else if (c < 0x800) {
    byte(0xC0 | (c >> 6));
    byte(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    byte(0xE0 | (c >> 12));
    byte(0x80 | ((c >> 6) & 0x3F));
    byte(0x80 | (c & 0x3F));
  } else {
    byte(0xF0 | (c >> 18));
    byte(0x80 | ((c >> 12) & 0x3F));
    byte(0x80 | ((c >> 6) & 0x3F));
    byte(0x80 | (c & 0x3F));
  }
}

/// Takes the first character off `bytes`; false when it is not well-formed UTF-8.
bool takeCharacter(std::string_view& bytes, char32_t& c) {
  const auto at = [&bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char lead = at(0);
  std::size_t length = 1;
  char32_t smallest = 0;
  if (lead < 0x80) {
    c = lead;
  } else if (lead >= 0xC2 && lead < 0xE0) {
    length = 2, c = lead & 0x1FU, smallest = 0x80;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3, c = lead & 0x0FU, smallest = 0x800;
  } else if (lead >= 0xF0 && lead < 0xF5) {
    length = 4, c = lead & 0x07U, smallest = 0x10000;
  } else {
    return false;
  }
  if (bytes.size() < length) return false;
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0U) != 0x80) return false;
    c = (c << 6) | (at(i) & 0x3FU);
  }
  if (c < smallest || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return false;
  bytes.remove_prefix(length);
  return true;
}

locale_t unicodeLocale() {
  static locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

}  // namespace

std::string upperCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return result;
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string TrimRight(std::string_view text) {
  if (text.empty()) return {};
  const std::size_t last = text.find_last_not_of(' ');
  return std::string(text.substr(0, last == std::string_view::npos ? 1 : last + 1));
}

std::vector<std::string_view> splitFields(std::string_view text, std::string_view separators, std::size_t maxFields) {
  std::vector<std::string_view> fields;
  while (fields.size() < maxFields) {
    const std::size_t end = text.find_first_of(separators);
    fields.push_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return fields;
}

std::vector<std::string_view> splitAtBlanks(std::string_view text, std::size_t maxFields) {
  std::vector<std::string_view> fields;
  while (fields.size() < maxFields) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) break;
    text.remove_prefix(first);
    const std::size_t end = text.find(' ');
    fields.push_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end);
  }
  return fields;
}

std::string_view field(const std::vector<std::string_view>& fields, std::size_t index) {
  return index < fields.size() ? trim(fields[index]) : std::string_view();
}

std::string replaceToken(std::string line, std::string_view placeholder, std::string_view value) {
  const std::size_t position = line.find(placeholder);
  if (position != std::string::npos) line.replace(position, placeholder.size(), value);
  return line;
}

bool isUtf8(std::string_view bytes) {
  char32_t c = 0;
  while (!bytes.empty()) {
    if (!takeCharacter(bytes, c)) return false;
  }
  return true;
}

std::string toUtf8(std::string_view bytes) {
  std::string result;
  while (!bytes.empty()) {
    const std::string_view line = bytes.substr(0, std::min(bytes.find('\n'), bytes.size() - 1) + 1);
    bytes.remove_prefix(line.size());
    if (isUtf8(line)) {
      result += line;
      continue;
    }
    for (const char byte : line) {
      const auto c = static_cast<unsigned char>(byte);
      appendUtf8(result, c >= 0x80 && c < 0xA0 ? windows1252High[c - 0x80U] : c);
    }
  }
  return result;
}

std::string percentEncode(const std::string& text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : toUtf8(text)) {
    const bool isPlain = isLetter(c) || (c >= '0' && c <= '9') || std::string_view("-._~").find(c) != std::string::npos;
    const auto byte = static_cast<unsigned char>(c);
    encoded += isPlain ? std::string(1, c) : std::string{'%', digits[byte >> 4U], digits[byte & 0xFU]};
  }
  return encoded;
}

std::string escapeXml(std::string_view text) {
  const std::string utf8 = toUtf8(text);
  std::string result;
  char32_t c = 0;
  for (std::string_view rest = utf8; !rest.empty() && takeCharacter(rest, c);) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&apos;";
        break;
      case '\t':
      case '\n':
      case '\r':  // as they are, a reader takes them for other blanks
        result += "&#" + std::to_string(static_cast<std::uint32_t>(c)) + ";";
        break;
      default:
        appendUtf8(result, c < ' ' || c == 0xFFFE || c == 0xFFFF ? char32_t{0xFFFD} : c);
    }
  }
  return result;
}

std::string withoutControls(std::string_view text) {
  const std::string utf8 = toUtf8(text);
  std::string result;
  char32_t c = 0;
  for (std::string_view rest = utf8; !rest.empty() && takeCharacter(rest, c);) {
    const bool control = (c < ' ' && c != '\n' && c != '\t') || (c >= 0x7F && c < 0xA0);
    const bool direction =
        c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
    appendUtf8(result, control || direction ? char32_t{'?'} : c);
  }
  return result;
}

std::string toWindows1252(std::string_view utf8) {
  std::string result;
  char32_t c = 0;
  while (!utf8.empty()) {
    if (!takeCharacter(utf8, c)) return {};
    const auto* const high = std::find(windows1252High.begin(), windows1252High.end(), c);
    if (high != windows1252High.end()) {
      result.push_back(static_cast<char>(0x80 + (high - windows1252High.begin())));
    } else if (c < 0x80 || (c >= 0xA0 && c < 0x100)) {
      result.push_back(static_cast<char>(c));
    } else {
      return {};
    }
  }
  return result;
}

std::string foldCase(std::string_view utf8) {
  std::string result;
  char32_t c = 0;
  while (!utf8.empty()) {
    if (!takeCharacter(utf8, c)) {
      result.push_back(utf8.front());
      utf8.remove_prefix(1);
      continue;
    }
    appendUtf8(result, static_cast<char32_t>(towlower_l(static_cast<wint_t>(c), unicodeLocale())));
  }
  return result;
}

}  // namespace vellandra
