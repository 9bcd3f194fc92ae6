#include "ui/dialogs/file_dialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTreeView>

#include "ui/widgets/qt_text.h"
#include "ui/widgets/window_settings.h"

namespace vellandra {
namespace {

constexpr const char* folderKey = "folder";

/// A name with wildcards is the default name, not a choice: the dialog stays open on it.
class FileDialog : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;

 protected:
  void accept() override {
    auto* name = findChild<QLineEdit*>("fileNameEdit");
    const bool wildcard = name != nullptr && name->text().contains('*');
    if (wildcard) {
      name->selectAll();
      name->setFocus();
    } else {
      QFileDialog::accept();
    }
  }
};

/// "description|*.a;*.b|..." as "description (*.a *.b)", one a pattern list.
QStringList nameFilters(const std::string& filter) {
  const QStringList parts = shown(filter).split('|');
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString patterns = parts[i + 1];
    filters << parts[i] + " (" + patterns.replace(';', ' ') + ")";
  }
  return filters;
}

QString startFolder() {
  QString last = windowSettings().value(folderKey).toString();
  if (!last.isEmpty() && QFileInfo(last).isDir()) return last;
  return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

}  // namespace

std::string pickFile(QWidget* parent, const FilePicker& picker, bool save) {
  FileDialog dialog(parent, shown(picker.title), startFolder());
  dialog.setObjectName("picker");
  // The platform's own dialogs show neither the default name nor the filters as given.
  dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::DontConfirmOverwrite |
                    QFileDialog::HideNameFilterDetails);
  dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  QStringList filters = nameFilters(picker.filter);
  if (!save) filters << "All files (*)";
  dialog.setNameFilters(filters);
  dialog.selectFile(shown(picker.defaultName));
  // Names, types and dates are to be read without pulling at the columns.
  constexpr int characters = 110;
  if (auto* files = dialog.findChild<QTreeView*>("treeView")) {
    files->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    files->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  }
  dialog.resize(dialog.size().expandedTo({dialog.fontMetrics().averageCharWidth() * characters, 0}));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  const QString chosen = dialog.selectedFiles().constFirst();
  windowSettings().setValue(folderKey, QFileInfo(chosen).absolutePath());
  return pathBytes(chosen);
}

}  // namespace vellandra
