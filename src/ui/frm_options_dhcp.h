// The options dialog's "DHCP" page: one row for each local address and for each configured
// interface that is not among them; the fields show the row chosen under "Interface:".
#pragma once

#include "ui/frm_options_page.h"

class QCheckBox;
class QComboBox;
class QLineEdit;

namespace quorvane {

class ctlIP;
class ctlTTL;
class RulesTable;

class OptionsDhcpPage : public OptionsPage
{
    Q_OBJECT
public:
    explicit OptionsDhcpPage(QWidget* parent = nullptr);
    void load(const OptionsData& shown) override;
    // Writes every row, enabled or not, into proposal.settings.DHCP (checkOptions keeps the enabled).
    void store(OptionsData& proposal) const override;
    void selectInterface(size_t row);
    // A reservation added from the leases window: client, address, name.
    void addReservation(const DhcpFixed& fixed);

private:
    clDHCPif fields() const;
    void showRow(int row);

    std::vector<clDHCPif> m_rows;
    int m_shown = -1; // the row the fields show
    QComboBox* m_interface;
    QCheckBox* m_enable;
    QLineEdit* m_domain;
    ctlIP* m_from;
    ctlIP* m_to;
    ctlIP* m_subnet;
    ctlIP* m_gateway;
    ctlTTL* m_lease;
    RulesTable* m_fixed; // DHCPFixed, for every interface
};

} // namespace quorvane
