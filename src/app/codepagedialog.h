// Choosing the code page the text of a Btrieve dictionary and its files was
// written in (DOS programs wrote their own national code page, which the files
// do not record).
#pragma once

#include <QDialog>
#include <vector>

class QComboBox;

namespace rq::ui {

struct CodePageChoice {
    int number;
    const char* description;
};

// The code pages offered, the DOS default first.
const std::vector<CodePageChoice>& btrieveCodePages();
inline constexpr int kDefaultBtrieveCodePage = 437;

class CodePageDialog : public QDialog {
    Q_OBJECT
  public:
    explicit CodePageDialog(QWidget* parent = nullptr);

    // The chosen code page once accepted; 0 before and after Cancel.
    int codePage() const { return chosen_; }
    QComboBox* choiceBox() const { return codePageBox_; }

    void done(int result) override;

  private:
    QComboBox* codePageBox_;
    int chosen_ = 0;
};

// Asks through the dialog façade; the code page, or 0 when cancelled.
int askBtrieveCodePage(QWidget* parent);

}  // namespace rq::ui
