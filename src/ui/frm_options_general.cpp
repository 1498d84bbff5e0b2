#include "ui/frm_options_general.h"

#include "host/options.h"
#include "ui/ctl_ttl.h"
#include "ui/separator_line.h"
#include "wire/clean_name.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QUrl>

#include <algorithm>

namespace quorvane {

namespace {

constexpr const char* kAllInterfaces = "<all>";

QCheckBox* flagBox(QWidget* parent, const char* name)
{
    auto* box = new QCheckBox(parent);
    box->setObjectName(name);
    return box;
}

ctlTTL* spanBox(QWidget* parent, const char* name)
{
    auto* box = new ctlTTL(parent);
    box->setObjectName(name);
    return box;
}

// Selects the item with this text; an item the list lacks is added first, so that a setting the
// choices do not offer is shown, and kept, as it stands.
void selectText(QComboBox* box, const QString& text)
{
    if (box->findText(text) < 0) box->addItem(text);
    box->setCurrentIndex(box->findText(text));
}

} // namespace

OptionsGeneralPage::OptionsGeneralPage(frmOptions& dialog)
    : m_dialog(dialog), m_name(new QLineEdit(this)), m_startMini(flagBox(this, "STARTMINI")),
      m_hosts(new QLineEdit(this)), m_hostsTtl(spanBox(this, "HOSTSTTL")), m_bind(new QComboBox(this)),
      m_recursion(new QComboBox(this)), m_autoCname(flagBox(this, "AUTOCNAME")),
      m_cacheTtl(spanBox(this, "CACHETTL")), m_cacheReload(flagBox(this, "CACHERELOAD")),
      m_checkNew(spanBox(this, "CHECKNEW")), m_cacheSize(new QSpinBox(this))
{
    m_cacheSize->setObjectName("CACHESIZE");
    m_cacheSize->setRange(1, 65536);
    m_cacheSize->setSuffix(tr(" MB"));
    m_cacheSize->setMaximumWidth(120);
    m_name->setObjectName("NAME");
    m_hosts->setObjectName("HOSTS");
    m_bind->setObjectName("DNSBIND");
    m_recursion->setObjectName("DNSRECURSION");
    m_checkNew->setToolTip(tr("0 never looks for new zone files"));

    auto* browse = new QPushButton(tr("Browse..."), this);
    auto* edit = new QPushButton(tr("Edit..."), this);
    browse->setObjectName("browseHosts");
    edit->setObjectName("editHosts");
    auto* hostsRow = new QHBoxLayout;
    hostsRow->addWidget(m_hosts, 1);
    hostsRow->addWidget(browse);
    hostsRow->addWidget(edit);

    auto* form = new QFormLayout(this);
    form->addRow(tr("Domain Name of this DNS server:"), m_name);
    form->addRow(tr("Start program minimized:"), m_startMini);
    form->addRow(new ctlLine3D(this));
    form->addRow(tr("Use Hosts file:"), hostsRow);
    form->addRow(tr("Hosts file records TTL:"), m_hostsTtl);
    form->addRow(new ctlLine3D(this));
    form->addRow(tr("Bind DNS to interface:"), m_bind);
    form->addRow(tr("Offer Recursion to:"), m_recursion);
    form->addRow(tr("Auto resolve CNAME records:"), m_autoCname);
    form->addRow(new ctlLine3D(this));
    form->addRow(tr("Minimum cache time:"), m_cacheTtl);
    form->addRow(tr("Reload DNS cache at startup:"), m_cacheReload);
    form->addRow(tr("Largest DNS cache:"), m_cacheSize);
    form->addRow(tr("Check for new zone files every:"), m_checkNew);

    connect(browse, &QPushButton::clicked, this, &OptionsGeneralPage::browseHosts);
    connect(edit, &QPushButton::clicked, this, &OptionsGeneralPage::editHosts);
    connect(m_bind, &QComboBox::currentTextChanged, this,
            [this] { fillRecursion(m_recursion->currentText()); });
}

void OptionsGeneralPage::load(const OptionsData& shown)
{
    const Settings& s = shown.settings;
    m_localAddresses = shown.localAddresses;
    m_name->setText(QString::fromStdString(s.NAME));
    m_startMini->setChecked(s.STARTMINI);
    m_hosts->setText(QString::fromStdString(s.HOSTS));
    m_hostsTtl->setSeconds(s.HOSTSTTL);
    m_autoCname->setChecked(s.AUTOCNAME);
    m_cacheTtl->setSeconds(s.CACHETTL);
    m_cacheReload->setChecked(s.CACHERELOAD);
    m_checkNew->setSeconds(s.CHECKNEW);
    m_cacheSize->setValue(s.CACHESIZE);

    const QSignalBlocker quiet(m_bind); // the recursion list is filled once, below
    m_bind->clear();
    m_bind->addItem(kAllInterfaces);
    for (const auto& address : m_localAddresses)
        m_bind->addItem(QString::fromStdString(address));
    selectText(m_bind, s.DNSBIND.empty() ? QString(kAllInterfaces) : QString::fromStdString(s.DNSBIND));
    fillRecursion({});
    selectText(m_recursion, QString::fromStdString(s.DNSRECURSION));
}

void OptionsGeneralPage::store(OptionsData& proposal) const
{
    Settings& s = proposal.settings;
    s.NAME = CleanName(m_name->text().toStdString());
    s.STARTMINI = m_startMini->isChecked();
    s.HOSTS = m_hosts->text().trimmed().toStdString();
    s.HOSTSTTL = m_hostsTtl->seconds();
    const QString bind = m_bind->currentText();
    s.DNSBIND = bind == kAllInterfaces ? std::string() : bind.toStdString();
    s.DNSRECURSION = m_recursion->currentText().toStdString();
    s.AUTOCNAME = m_autoCname->isChecked();
    s.CACHETTL = m_cacheTtl->seconds();
    s.CACHERELOAD = m_cacheReload->isChecked();
    s.CHECKNEW = m_checkNew->seconds();
    s.CACHESIZE = m_cacheSize->value();
}

// Rebuilds "Offer Recursion to:" for the binding chosen; keeps the choice when still offered.
void OptionsGeneralPage::fillRecursion(const QString& keep)
{
    const QString bind = m_bind->currentText();
    const auto choices =
        recursionChoices(bind == kAllInterfaces ? std::string() : bind.toStdString(), m_localAddresses);
    m_recursion->clear();
    for (const auto& choice : choices)
        m_recursion->addItem(QString::fromStdString(choice));
    m_recursion->setCurrentIndex(std::max(m_recursion->findText(keep), 0));
}

void OptionsGeneralPage::browseHosts()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Select Hosts file"), "/etc/hosts",
                                                      tr("All Files (*);;Text Files (*.txt)"));
    if (!path.isEmpty()) m_hosts->setText(path);
}

void OptionsGeneralPage::editHosts()
{
    const QString path = m_hosts->text().trimmed();
    if (path.isEmpty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        m_dialog.warn(tr("Error trying to open notepad!"));
}

} // namespace quorvane
