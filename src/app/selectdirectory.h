// The Select Directory dialog (frmseldir): a folder tree, a name box, New
// Folder, a browse button, OK and Cancel. OK accepts only a name that gives an
// absent or empty folder; the chosen target is then target().
#pragma once

#include <QDialog>

class QFileSystemModel;
class QLineEdit;
class QTreeView;

namespace rq::ui {

class SelectDirectoryDialog : public QDialog {
    Q_OBJECT
  public:
    explicit SelectDirectoryDialog(const QString& startFolder, QWidget* parent = nullptr);

    QString currentFolder() const;
    void setCurrentFolder(const QString& folder);
    QLineEdit* nameBox() const { return folderNameBox_; }
    QString target() const { return target_; }

    void newFolder();  // Command2
    void tryAccept();  // cmdok

  private:
    QFileSystemModel* model_;
    QTreeView* dirTree_;
    QLineEdit* folderNameBox_;
    QString current_;
    QString target_;
};

}  // namespace rq::ui
