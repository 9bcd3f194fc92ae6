// Fills the endings of calibrations, which stand in the format table alone, into what the system is told about them:
// fill_in_endings TEMPLATE RESULT.

#include <string>

#include "formats/format_table.h"
#include "support/files.h"
#include "support/text.h"

int main(int argc, char** argv) {
  using namespace vellandra;
  if (argc != 3) return 1;
  setFormatTable({formatRows()});
  std::string globs, list;
  std::size_t left = inputEndings().size();
  for (const Ending& ending : inputEndings()) {
    const std::string extension = ending.extension;
    const char* weight = ending.isShared ? " weight=\"40\"" : "";
    --left;
    globs += "<glob pattern=\"*." + extension + "\"" + weight + "/>" + (left > 0 ? "\n    " : "");
    list += "." + extension + (left > 1 ? " \", \" " : left == 1 ? " \" or \" " : "");
  }
  const std::string text(TextFile(argv[1]).content());
  return writeWholeFile(argv[2], replaceToken(replaceToken(text, "GLOBS", globs), "ENDINGS", list)) ? 0 : 1;
}
