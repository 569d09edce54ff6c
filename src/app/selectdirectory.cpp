#include "app/selectdirectory.h"

#include <QDir>
#include <QFileSystemModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/dialogs.h"
#include "generate/folderchoice.h"

namespace rq::ui {

SelectDirectoryDialog::SelectDirectoryDialog(const QString& startFolder, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmseldir"));
    setWindowTitle(QStringLiteral("Select Directory"));
    setModal(true);
    resize(460, 420);

    model_ = new QFileSystemModel(this);
    model_->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
    model_->setRootPath(QDir::rootPath());

    dirTree_ = new QTreeView(this);
    dirTree_->setObjectName(QStringLiteral("Dir1"));
    dirTree_->setModel(model_);
    for (int c = 1; c < model_->columnCount(); ++c) dirTree_->hideColumn(c);
    dirTree_->header()->hide();
    connect(dirTree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& index) {
                if (index.isValid()) current_ = model_->filePath(index);
            });

    auto* nameLabel = new QLabel(QStringLiteral("Folder name:"), this);
    folderNameBox_ = new QLineEdit(this);
    folderNameBox_->setObjectName(QStringLiteral("Text1"));
    nameLabel->setBuddy(folderNameBox_);

    auto* newFolderButton = new QPushButton(QStringLiteral("New Folder"), this);
    newFolderButton->setObjectName(QStringLiteral("Command2"));
    auto* browse = new QPushButton(QStringLiteral("Browse..."), this);
    browse->setObjectName(QStringLiteral("Command1"));
    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("cmdok"));
    ok->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdcancel"));

    connect(newFolderButton, &QPushButton::clicked, this, &SelectDirectoryDialog::newFolder);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString chosen =
            Dialogs::existingFolder(this, QStringLiteral("Select folder"), currentFolder());
        if (!chosen.isEmpty()) setCurrentFolder(chosen);
    });
    connect(ok, &QPushButton::clicked, this, &SelectDirectoryDialog::tryAccept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* nameRow = new QHBoxLayout;
    nameRow->addWidget(nameLabel);
    nameRow->addWidget(folderNameBox_, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(newFolderButton);
    buttons->addWidget(browse);
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(dirTree_, 1);
    layout->addLayout(nameRow);
    layout->addLayout(buttons);

    setCurrentFolder(startFolder.isEmpty() ? QDir::homePath() : startFolder);
}

QString SelectDirectoryDialog::currentFolder() const {
    return current_;
}

void SelectDirectoryDialog::setCurrentFolder(const QString& folder) {
    current_ = QDir::cleanPath(folder);
    const QModelIndex index = model_->index(current_);
    if (index.isValid()) {
        dirTree_->setCurrentIndex(index);
        dirTree_->scrollTo(index);
    }
    current_ = QDir::cleanPath(folder);
}

void SelectDirectoryDialog::newFolder() {
    const std::string made = makeNewFolder(current_.toStdString());
    if (!made.empty()) setCurrentFolder(QString::fromStdString(made));
}

void SelectDirectoryDialog::tryAccept() {
    const FolderChoice choice =
        checkSelectedFolder(current_.toStdString(), folderNameBox_->text().toStdString());
    if (!choice.ok) {
        Dialogs::exclamation(this, QString::fromStdString(choice.error));
        return;
    }
    target_ = QString::fromStdString(choice.target);
    accept();
}

}  // namespace rq::ui
