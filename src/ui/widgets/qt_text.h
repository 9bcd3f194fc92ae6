#pragma once

#include <QFile>
#include <QString>
#include <string>

#include "support/text.h"

namespace vellandra {

// All ways of a text between the core and Qt. The windows' own texts stand as plain literals where they are shown,
// which Qt takes as UTF-8; numbers go into them with `arg`, names are put beside them, as a name may hold a "%1"
// itself.

/// Text of the core, UTF-8 or Windows-1252, as it is shown.
inline QString shown(const std::string& text) {
  return QString::fromStdString(toUtf8(text));
}

/// Text of a person, from a field or the clipboard, as UTF-8.
inline std::string textBytes(const QString& text) {
  return text.toStdString();
}

/// Paths are bytes in the core.
inline std::string pathBytes(const QString& path) {
  return QFile::encodeName(path).toStdString();
}
inline QString shownPath(const std::string& path) {
  return QFile::decodeName(path.c_str());
}

/// A caption without the mark of its key.
inline QString plainCaption(QString caption) {
  return caption.remove('&');
}

/// `text` with invisible places to break a line in words of more than 60 characters, which a label would cut off:
/// behind what parts the words of a file name, and every 40 characters where there is nothing of the kind.
inline QString breakable(const QString& text) {
  constexpr qsizetype longestWord = 60, longestPiece = 40;
  constexpr char16_t invisibleBlank = 0x200B;
  const QString parting = "/\\_-.";
  QString result;
  for (qsizetype start = 0; start < text.size();) {
    qsizetype end = start;
    while (end < text.size() && !text[end].isSpace()) ++end;
    for (qsizetype i = start, piece = 0; i < end; ++i) {
      result += text[i];
      const bool parts = parting.contains(text[i]);
      if (end - start > longestWord && i + 1 < end && (parts || ++piece >= longestPiece)) {
        result += invisibleBlank;
        piece = 0;
      }
    }
    if (end < text.size()) result += text[end];
    start = end + 1;
  }
  return result;
}

}  // namespace vellandra
