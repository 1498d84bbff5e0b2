#include "ui/frm_options_filtering.h"

#include "ui/frm_options_address_list.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeWidget>

namespace quorvane {

namespace {

const char* const kAnswers[] = {"ZERO", "NXDOMAIN", "REFUSED"};

// An entry box with "Add" and a "Remove" for the selection, around a list.
QWidget* editorBox(QWidget* list, QLineEdit* entry, QWidget* parent, const std::function<void()>& add,
                   const std::function<void()>& remove)
{
    auto* box = new QWidget(parent);
    auto* grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    auto* addButton = new QPushButton(QObject::tr("Add"), box);
    auto* removeButton = new QPushButton(QObject::tr("Remove"), box);
    QObject::connect(addButton, &QPushButton::clicked, box, add);
    QObject::connect(entry, &QLineEdit::returnPressed, box, add);
    QObject::connect(removeButton, &QPushButton::clicked, box, remove);
    grid->addWidget(entry, 0, 0);
    grid->addWidget(addButton, 0, 1);
    grid->addWidget(list, 1, 0);
    grid->addWidget(removeButton, 1, 1, Qt::AlignTop);
    return box;
}

} // namespace

OptionsFilteringPage::OptionsFilteringPage(frmOptions& dialog, QWidget* parent)
    : OptionsPage(parent), m_sources(new QTreeWidget(this)), m_newSource(new QLineEdit(this)),
      m_allow(new QListWidget(this)), m_newAllowed(new QLineEdit(this)), m_noFilter(new AddressListEditor(this)),
      m_answer(new QComboBox(this)), m_update(new QSpinBox(this))
{
    m_sources->setObjectName("BLOCKLIST");
    m_newSource->setObjectName("newBlockList");
    m_allow->setObjectName("ALLOWLIST");
    m_newAllowed->setObjectName("newAllowList");
    m_noFilter->setObjectName("NOFILTER");
    m_answer->setObjectName("BLOCKANSWER");
    m_update->setObjectName("BLOCKLISTUPDATE");
    m_sources->setHeaderLabels({tr("Block list"), tr("Last reading and fetch")});
    m_sources->setRootIsDecorated(false);
    m_sources->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_newSource->setPlaceholderText(tr("File, or http:// or https:// address"));
    m_newAllowed->setPlaceholderText(tr("Name never blocked, with its subdomains"));
    m_answer->addItems({tr("0.0.0.0 and ::, empty for other types"), tr("Name does not exist (NXDOMAIN)"),
                        tr("Refused")});
    m_update->setRange(1, 24 * 365);
    m_update->setSuffix(tr(" hours"));
    auto* updateNow = new QPushButton(tr("Update lists now"), this);
    updateNow->setObjectName("updateLists");
    connect(updateNow, &QPushButton::clicked, &dialog, &frmOptions::updateListsRequested);

    auto* form = new QFormLayout(this);
    form->addRow(sourcesBox());
    form->addRow(tr("Fetch lists at addresses every:"), m_update);
    form->addRow(QString(), updateNow);
    form->addRow(tr("Answer blocked questions with:"), m_answer);
    form->addRow(tr("Never block these names:"), allowBox());
    form->addRow(tr("Never filter these clients:"), m_noFilter);
}

QWidget* OptionsFilteringPage::sourcesBox()
{
    return editorBox(m_sources, m_newSource, this, [this] { addSource(); },
                     [this] { qDeleteAll(m_sources->selectedItems()); });
}

QWidget* OptionsFilteringPage::allowBox()
{
    return editorBox(m_allow, m_newAllowed, this, [this] { addAllowed(); },
                     [this] { qDeleteAll(m_allow->selectedItems()); });
}

void OptionsFilteringPage::addSource()
{
    const QString source = m_newSource->text().trimmed();
    if (source.isEmpty() || !m_sources->findItems(source, Qt::MatchExactly).isEmpty()) return;
    new QTreeWidgetItem(m_sources, {source, tr("read when the options are applied")});
    m_newSource->clear();
}

void OptionsFilteringPage::addAllowed()
{
    const QString name = m_newAllowed->text().trimmed().toLower();
    if (name.isEmpty() || !m_allow->findItems(name, Qt::MatchExactly).isEmpty()) return;
    m_allow->addItem(name);
    m_newAllowed->clear();
}

void OptionsFilteringPage::load(const OptionsData& shown)
{
    m_sources->clear();
    for (const std::string& source : shown.settings.BLOCKLIST) {
        QString result;
        const std::string prefix = source + ": ";
        for (const std::string& line : shown.blockListReport)
            if (line.starts_with(prefix)) result = QString::fromStdString(line.substr(prefix.size()));
        auto* item = new QTreeWidgetItem(m_sources, {QString::fromStdString(source), result});
        item->setToolTip(1, result);
    }
    m_allow->clear();
    for (const std::string& name : shown.settings.ALLOWLIST) m_allow->addItem(QString::fromStdString(name));
    m_noFilter->setAddresses(shown.settings.NOFILTER);
    m_answer->setCurrentIndex(0);
    for (int i = 0; i < 3; ++i)
        if (shown.settings.BLOCKANSWER == kAnswers[i]) m_answer->setCurrentIndex(i);
    m_update->setValue(shown.settings.BLOCKLISTUPDATE);
}

void OptionsFilteringPage::store(OptionsData& proposal) const
{
    Settings& s = proposal.settings;
    s.BLOCKLIST.clear();
    for (int i = 0; i < m_sources->topLevelItemCount(); ++i)
        s.BLOCKLIST.push_back(m_sources->topLevelItem(i)->text(0).toStdString());
    s.ALLOWLIST.clear();
    for (int i = 0; i < m_allow->count(); ++i) s.ALLOWLIST.push_back(m_allow->item(i)->text().toStdString());
    s.NOFILTER = m_noFilter->addresses();
    s.BLOCKANSWER = kAnswers[std::max(m_answer->currentIndex(), 0)];
    s.BLOCKLISTUPDATE = m_update->value();
}

} // namespace quorvane
