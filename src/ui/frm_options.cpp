#include "ui/frm_options.h"

#include "host/options.h"
#include "ui/frm_options_blocking.h"
#include "ui/frm_options_dhcp.h"
#include "ui/frm_options_flags.h"
#include "ui/frm_options_forwarding.h"
#include "ui/frm_options_general.h"

#include <QDialogButtonBox>
#include <QMessageBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include <filesystem>

namespace quorvane {

namespace {

bool fileExists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

} // namespace

frmOptions::frmOptions(const OptionsData& shown, QWidget* parent)
    : QDialog(parent), m_data(shown),
      m_warn([this](const QString& message) { QMessageBox::warning(this, "Quorvane", message); }),
      m_tabs(new QTabWidget(this))
{
    setWindowTitle(tr("Options"));
    m_tabs->setObjectName("tabs");
    createPages();
    for (OptionsPage* page : m_pages)
        page->load(m_data);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &frmOptions::cmdOK);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(buttons);
}

// The tab order follows OptionsTab, so a checked tab's number is its index here.
void frmOptions::createPages()
{
    m_dhcpPage = new OptionsDhcpPage;
    const std::pair<OptionsPage*, QString> pages[] = {
        {new OptionsGeneralPage(*this), tr("General")},
        {new OptionsForwardingPage, tr("Forwarding")},
        {OptionsFlagsPage::logging(), tr("Logging")},
        {new OptionsBlockingPage, tr("Blocking")},
        {m_dhcpPage, tr("DHCP")},
        {OptionsFlagsPage::extensions(), tr("Extensions")},
    };
    for (const auto& [page, title] : pages) {
        m_tabs->addTab(page, title);
        m_pages.push_back(page);
    }
}

void frmOptions::cmdOK()
{
    OptionsData proposal = m_data;
    for (const OptionsPage* page : m_pages)
        page->store(proposal);
    const OptionsCheck check = checkOptions(proposal.settings, proposal.settings.DHCP, fileExists);
    if (check.error) {
        showError(proposal, check.error->message, static_cast<int>(check.error->tab));
        return;
    }
    emit optionsAccepted(check.accepted, proposal.blockList);
    accept();
}

void frmOptions::showError(const OptionsData& proposal, const std::string& message, int tab)
{
    m_tabs->setCurrentIndex(tab);
    if (tab == static_cast<int>(OptionsTab::Dhcp)) {
        // Show the interface at fault: the first enabled row that fails on its own.
        const auto& rows = proposal.settings.DHCP;
        for (size_t row = 0; row < rows.size(); ++row) {
            if (rows[row].Enable && checkOptions(proposal.settings, {rows[row]}, fileExists).error) {
                m_dhcpPage->selectInterface(row);
                break;
            }
        }
    }
    m_warn(QString::fromStdString(message));
}

void frmOptions::reserve(const DhcpFixed& fixed)
{
    m_dhcpPage->addReservation(fixed);
    m_tabs->setCurrentIndex(static_cast<int>(OptionsTab::Dhcp));
}

} // namespace quorvane
