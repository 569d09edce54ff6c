#include "app/odbcsourcedialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>
#include <exception>

#include "app/dialogs.h"

namespace rq::ui {

namespace {

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

constexpr int kConnectRole = Qt::UserRole;

}  // namespace

OdbcSourceDialog::OdbcSourceDialog(const std::vector<OdbcDataSourceEntry>& sources,
                                   const std::vector<OdbcDriverEntry>& drivers, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmOdbcSource"));
    setWindowTitle(QStringLiteral("Select Data Source"));
    setModal(true);
    resize(560, 420);

    auto* sourcesLabel = new QLabel(QStringLiteral("&Data sources:"), this);
    sourceList_ = new QTreeWidget(this);
    sourceList_->setObjectName(QStringLiteral("lstSources"));
    sourceList_->setColumnCount(3);
    sourceList_->setHeaderLabels(
        {QStringLiteral("Name"), QStringLiteral("Type"), QStringLiteral("Driver")});
    sourceList_->setRootIsDecorated(false);
    sourceList_->setAllColumnsShowFocus(true);
    sourceList_->header()->setStretchLastSection(true);
    sourcesLabel->setBuddy(sourceList_);
    for (const OdbcDataSourceEntry& s : sources) {
        auto* item = new QTreeWidgetItem(
            sourceList_,
            {fromUtf8(s.name), s.system ? QStringLiteral("System") : QStringLiteral("User"),
             fromUtf8(s.driver)});
        item->setData(0, kConnectRole, fromUtf8(connectionStringForDataSource(s.name)));
    }
    sourceList_->resizeColumnToContents(0);

    auto* driversLabel = new QLabel(QStringLiteral("Installed d&rivers:"), this);
    driverList_ = new QListWidget(this);
    driverList_->setObjectName(QStringLiteral("lstDrivers"));
    driversLabel->setBuddy(driverList_);
    for (const OdbcDriverEntry& d : drivers) {
        auto* item = new QListWidgetItem(fromUtf8(d.name), driverList_);
        item->setData(kConnectRole, fromUtf8(connectionStringForDriver(d.name)));
    }

    auto* connectLabel = new QLabel(QStringLiteral("&Connection string:"), this);
    connectionEdit_ = new QLineEdit(this);
    connectionEdit_->setObjectName(QStringLiteral("txtConnect"));
    connectionEdit_->setPlaceholderText(
        QStringLiteral("DSN=name;  or  DRIVER={driver};Database=..."));
    connectLabel->setBuddy(connectionEdit_);

    ok_ = new QPushButton(QStringLiteral("&OK"), this);
    ok_->setObjectName(QStringLiteral("cmdOK"));
    ok_->setDefault(true);
    ok_->setEnabled(false);
    auto* cancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));

    connect(sourceList_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (item) chooseSource();
    });
    // A double click on a data source is its choice and OK at once.
    connect(sourceList_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        if (!item) return;
        chooseSource();
        accept();
    });
    connect(driverList_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (item) chooseDriver();
    });
    connect(connectionEdit_, &QLineEdit::textChanged, this,
            [this](const QString& text) { ok_->setEnabled(!text.trimmed().isEmpty()); });
    connect(ok_, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok_);
    buttons->addWidget(cancel);
    auto* layout = new QGridLayout(this);
    layout->addWidget(sourcesLabel, 0, 0);
    layout->addWidget(driversLabel, 0, 1);
    layout->addWidget(sourceList_, 1, 0);
    layout->addWidget(driverList_, 1, 1);
    layout->addWidget(connectLabel, 2, 0, 1, 2);
    layout->addWidget(connectionEdit_, 3, 0, 1, 2);
    layout->addLayout(buttons, 4, 0, 1, 2);
    layout->setColumnStretch(0, 3);
    layout->setColumnStretch(1, 2);
}

void OdbcSourceDialog::chooseSource() {
    QTreeWidgetItem* item = sourceList_->currentItem();
    if (!item) return;
    driverList_->setCurrentItem(nullptr);
    driverList_->clearSelection();
    connectionEdit_->setText(item->data(0, kConnectRole).toString());
}

void OdbcSourceDialog::chooseDriver() {
    QListWidgetItem* item = driverList_->currentItem();
    if (!item) return;
    sourceList_->setCurrentItem(nullptr);
    sourceList_->clearSelection();
    connectionEdit_->setText(item->data(kConnectRole).toString());
    // The driver's own keywords (a database file, a server) follow.
    connectionEdit_->setFocus();
    connectionEdit_->end(false);
}

void OdbcSourceDialog::done(int result) {
    chosen_ = result == QDialog::Accepted ? connectionEdit_->text().trimmed() : QString();
    QDialog::done(result);
}

QString askOdbcConnectionString(QWidget* parent) {
    std::vector<OdbcDataSourceEntry> sources;
    std::vector<OdbcDriverEntry> drivers;
    // Without a working driver manager the lists stay empty; the string can
    // still be written by hand.
    try {
        sources = odbcDataSources();
    } catch (const std::exception&) {
    }
    try {
        drivers = odbcDrivers();
    } catch (const std::exception&) {
    }
    OdbcSourceDialog dialog(sources, drivers, parent);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return {};
    return dialog.connectionString();
}

}  // namespace rq::ui
