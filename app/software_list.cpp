// SPDX-License-Identifier: MIT
#include "app/software_list.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "widgets/localized_text.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

constexpr QSize dialogSize(720, 480);

QTableWidget* makeTable(const Bundle& bundle) {
    const std::vector<UsedSoftware> software = usedSoftware();
    auto* table = new QTableWidget(static_cast<int>(software.size()), 2);
    table->setHorizontalHeaderLabels({localizedText(bundle, "Software"), localizedText(bundle, "Licence")});
    table->setAccessibleName(localizedText(bundle, "Open_source_software"));
    int row = 0;
    for (const UsedSoftware& used : software) {
        table->setItem(row, 0, new QTableWidgetItem(used.name));
        table->setItem(row, 1, new QTableWidgetItem(used.licence));
        ++row;
    }
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setTabKeyNavigation(false); // Tab moves on to the button
    table->setAlternatingRowColors(true);
    table->setShowGrid(false);
    table->setWordWrap(true);
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    table->selectRow(0); // the keyboard starts here
    return table;
}

} // namespace

std::vector<UsedSoftware> usedSoftware() {
    std::vector<UsedSoftware> software;
    QFile file(QStringLiteral(":/software.json"));
    if (!file.open(QIODevice::ReadOnly)) return software;
    const QJsonArray entries = QJsonDocument::fromJson(file.readAll()).array();
    for (const auto& entry : entries)
        software.push_back(
            {entry[QStringLiteral("name")].toString(), entry[QStringLiteral("licence")].toString()});
    return software;
}

void showSoftwareList(QWidget* parent, const Bundle& bundle) {
    auto* dialog = new QDialog(parent);
    dialog->setObjectName(QStringLiteral("softwareList"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(localizedText(bundle, "Open_source_software"));
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(24, 24, 24, 20);
    layout->setSpacing(16);
    layout->addWidget(makeTable(bundle));
    auto* buttons = new QDialogButtonBox;
    QPushButton* close = buttons->addButton(localizedText(bundle, "Close"), QDialogButtonBox::RejectRole);
    QObject::connect(close, &QPushButton::clicked, dialog, &QDialog::reject);
    layout->addWidget(buttons);
    applyPanelLook(*dialog);
    dialog->resize(scaled(dialogSize.width()), scaled(dialogSize.height()));
    dialog->show();
    dialog->activateWindow();
}

} // namespace tavelo
