#pragma once

#include <QLineEdit>
#include <functional>
#include <utility>

namespace vellandra {

/// A field that tells of text that came into it at once: pasted by key, menu or mouse, or dropped.
class PastingEdit : public QLineEdit {
 public:
  /// `pasted` gets the piece after it has become a part of this field's text.
  explicit PastingEdit(std::function<void(const QLineEdit& edit, const QString& piece)> pasted)
      : pasted_(std::move(pasted)) {
    // Of these signals the one of a person's edit comes first, while `start_` and `selected_` are those before it.
    connect(this, &QLineEdit::textEdited, this, [this](const QString& text) {
      const qsizetype length = text.size() - (length_ - selected_);
      if (length > 1) piece_ = text.mid(start_, length);
    });
    connect(this, &QLineEdit::textChanged, this, &PastingEdit::remember);
    connect(this, &QLineEdit::selectionChanged, this, &PastingEdit::remember);
    connect(this, &QLineEdit::cursorPositionChanged, this, &PastingEdit::remember);
  }

 private:
  void remember() {
    length_ = text().size();
    selected_ = selectedText().size();
    start_ = hasSelectedText() ? selectionStart() : cursorPosition();
    const QString piece = std::exchange(piece_, {});
    if (!piece.isEmpty()) pasted_(*this, piece);
  }

  std::function<void(const QLineEdit&, const QString&)> pasted_;
  QString piece_;
  qsizetype length_ = 0, selected_ = 0, start_ = 0;
};

}  // namespace vellandra
