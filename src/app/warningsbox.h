// The reader's warnings after a table or a statement result was loaded: one
// message box listing them.
#pragma once

#include <QString>
#include <string>
#include <vector>

class QWidget;

namespace rq::ui {

// The box's text: a line naming what was read, then one line per warning;
// past `limit` warnings a last line counts the rest.
QString readWarningsText(const QString& what, const std::vector<std::string>& warnings,
                         std::size_t limit = 20);
// Shows the box when there are warnings.
void showReadWarnings(QWidget* parent, const QString& what,
                      const std::vector<std::string>& warnings);

}  // namespace rq::ui
