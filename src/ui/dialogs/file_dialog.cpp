#include "ui/dialogs/file_dialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTreeView>

#include "support/paths.h"
#include "ui/widgets/qt_text.h"
#include "ui/widgets/window_settings.h"

namespace vellandra {
namespace {

/// Programs, tables and tracks lie elsewhere than maps.
const char* folderKeyOf(const FilePicker& picker) {
  if (picker.defaultName == "*.exe") return "programFolder";
  if (picker.defaultName == "*.gpx") return "trackFolder";
  return picker.defaultName == "*.txt" ? "tableFolder" : "folder";
}

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

/// All patterns of several descriptions as one.
QString allPatterns(const std::string& filter) {
  const QStringList parts = shown(filter).split('|');
  QStringList patterns;
  for (qsizetype i = 1; i < parts.size(); i += 2) patterns << parts[i];
  return patterns.size() > 1 ? "All calibrations (" + patterns.join(' ') + ")" : QString();
}

/// Beside the map, under a name that is free. Empty without a map.
QString nameForCopy(const std::string& imagePath) {
  const PathParts map = splitPath(imagePath);
  if (map.folder.empty()) return {};
  const QString stem = shownPath(map.folder + map.base);
  for (int number = 1;; ++number) {
    QString name = stem + (number == 1 ? QString("-new.png") : QString("-new%1.png").arg(number));
    if (!QFileInfo::exists(name)) return name;
  }
}

QString startFolder(const char* folderKey) {
  QString last = windowSettings().value(folderKey).toString();
  if (!last.isEmpty() && QFileInfo(last).isDir()) return last;
  return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

}  // namespace

std::string pickFile(QWidget* parent, const FilePicker& picker, bool save) {
  const char* const folderKey = folderKeyOf(picker);
  FileDialog dialog(parent, shown(picker.title), startFolder(folderKey));
  dialog.setObjectName("picker");
  // The platform's own dialogs show neither the default name nor the filters as given.
  dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::DontConfirmOverwrite |
                    QFileDialog::HideNameFilterDetails);
  dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  QStringList filters = nameFilters(picker.filter);
  if (const QString all = allPatterns(picker.filter); !save && !all.isEmpty()) filters << all;
  if (!save) filters << "All files (*)";
  dialog.setNameFilters(filters);
  const QString copy = save ? nameForCopy(picker.copyOf) : QString();
  dialog.selectFile(copy.isEmpty() ? shown(picker.defaultName) : copy);
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

std::string pickFolder(QWidget* parent, const std::string& title) {
  constexpr const char* folderKey = "folder";
  QFileDialog dialog(parent, shown(title), startFolder(folderKey));
  dialog.setObjectName("picker");
  dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::ShowDirsOnly);
  dialog.setFileMode(QFileDialog::Directory);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  const QString chosen = dialog.selectedFiles().constFirst();
  windowSettings().setValue(folderKey, chosen);
  return pathBytes(chosen);
}

}  // namespace vellandra
