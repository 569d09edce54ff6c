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
    lstSources_ = new QTreeWidget(this);
    lstSources_->setObjectName(QStringLiteral("lstSources"));
    lstSources_->setColumnCount(3);
    lstSources_->setHeaderLabels(
        {QStringLiteral("Name"), QStringLiteral("Type"), QStringLiteral("Driver")});
    lstSources_->setRootIsDecorated(false);
    lstSources_->setAllColumnsShowFocus(true);
    lstSources_->header()->setStretchLastSection(true);
    sourcesLabel->setBuddy(lstSources_);
    for (const OdbcDataSourceEntry& s : sources) {
        auto* item = new QTreeWidgetItem(
            lstSources_,
            {fromUtf8(s.name), s.system ? QStringLiteral("System") : QStringLiteral("User"),
             fromUtf8(s.driver)});
        item->setData(0, kConnectRole, fromUtf8(connectionStringForDataSource(s.name)));
    }
    lstSources_->resizeColumnToContents(0);

    auto* driversLabel = new QLabel(QStringLiteral("Installed d&rivers:"), this);
    lstDrivers_ = new QListWidget(this);
    lstDrivers_->setObjectName(QStringLiteral("lstDrivers"));
    driversLabel->setBuddy(lstDrivers_);
    for (const OdbcDriverEntry& d : drivers) {
        auto* item = new QListWidgetItem(fromUtf8(d.name), lstDrivers_);
        item->setData(kConnectRole, fromUtf8(connectionStringForDriver(d.name)));
    }

    auto* connectLabel = new QLabel(QStringLiteral("&Connection string:"), this);
    txtConnect_ = new QLineEdit(this);
    txtConnect_->setObjectName(QStringLiteral("txtConnect"));
    txtConnect_->setPlaceholderText(QStringLiteral("DSN=name;  or  DRIVER={driver};Database=..."));
    connectLabel->setBuddy(txtConnect_);

    ok_ = new QPushButton(QStringLiteral("&OK"), this);
    ok_->setObjectName(QStringLiteral("cmdOK"));
    ok_->setDefault(true);
    ok_->setEnabled(false);
    auto* cancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));

    connect(lstSources_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (item) chooseSource();
    });
    // A double click on a data source is its choice and OK at once.
    connect(lstSources_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        if (!item) return;
        chooseSource();
        accept();
    });
    connect(lstDrivers_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (item) chooseDriver();
    });
    connect(txtConnect_, &QLineEdit::textChanged, this,
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
    layout->addWidget(lstSources_, 1, 0);
    layout->addWidget(lstDrivers_, 1, 1);
    layout->addWidget(connectLabel, 2, 0, 1, 2);
    layout->addWidget(txtConnect_, 3, 0, 1, 2);
    layout->addLayout(buttons, 4, 0, 1, 2);
    layout->setColumnStretch(0, 3);
    layout->setColumnStretch(1, 2);
}

void OdbcSourceDialog::chooseSource() {
    QTreeWidgetItem* item = lstSources_->currentItem();
    if (!item) return;
    lstDrivers_->setCurrentItem(nullptr);
    lstDrivers_->clearSelection();
    txtConnect_->setText(item->data(0, kConnectRole).toString());
}

void OdbcSourceDialog::chooseDriver() {
    QListWidgetItem* item = lstDrivers_->currentItem();
    if (!item) return;
    lstSources_->setCurrentItem(nullptr);
    lstSources_->clearSelection();
    txtConnect_->setText(item->data(kConnectRole).toString());
    // The driver's own keywords (a database file, a server) follow.
    txtConnect_->setFocus();
    txtConnect_->end(false);
}

void OdbcSourceDialog::done(int result) {
    chosen_ = result == QDialog::Accepted ? txtConnect_->text().trimmed() : QString();
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
