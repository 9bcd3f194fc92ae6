#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vellandra {

/// ASCII letters only; every other byte stays as it is, so text in Windows-1252 or UTF-8 is not harmed.
std::string upperCase(std::string_view text);
/// An ASCII letter.
constexpr bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

std::string lowerCase(std::string_view text);

/// Without blanks and tabs at both ends.
std::string_view trim(std::string_view text);

/// `text` up to and including its last character that is not a blank. Blanks alone give one blank, empty gives empty.
std::string TrimRight(std::string_view text);

/// Splits at every one of the characters in `separators`; neighbouring separators give empty fields. At most
/// `maxFields` fields are returned, what lies behind them is dropped.
std::vector<std::string_view> splitFields(std::string_view text, std::string_view separators,
                                          std::size_t maxFields = 64);

/// Splits at runs of blanks; leading and trailing blanks give no field.
std::vector<std::string_view> splitAtBlanks(std::string_view text, std::size_t maxFields = 500);

/// Field `index` of `fields`, trimmed; empty when the line is shorter.
std::string_view field(const std::vector<std::string_view>& fields, std::size_t index);

/// Replaces the first occurrence of `placeholder` in `line`; a line without it stays as it is.
std::string replaceToken(std::string line, std::string_view placeholder, std::string_view value);

bool isUtf8(std::string_view bytes);

/// The text as UTF-8. Each line is for itself, as lines of many files come together: unchanged when it is UTF-8
/// already, else read as Windows-1252.
std::string toUtf8(std::string_view bytes);

/// The text as UTF-8 with "?" for every character that would steer a terminal: controls but for line feed and tab, and
/// what parts lines or turns the direction of writing.
std::string withoutControls(std::string_view text);

/// `text` in UTF-8 as a part of a URI: all but letters, digits and "-._~" as "%" and two hexadecimal digits (RFC 3986).
std::string percentEncode(const std::string& text);

/// `text`, as UTF-8, for between the tags of an XML 1.0 document. Characters that such a document cannot hold become
/// U+FFFD.
std::string escapeXml(std::string_view text);

/// UTF-8 text as Windows-1252; empty when a character has no place there.
std::string toWindows1252(std::string_view utf8);

/// Folds case for comparing names in UTF-8 without regard to case, in every alphabet the C library knows.
std::string foldCase(std::string_view utf8);

}  // namespace vellandra
