// The options dialog's "Forwarding" page: forwarding to external servers and the answers accepted
// from them.
#pragma once

#include "ui/frm_options_page.h"

class QCheckBox;

namespace quorvane {

class AddressListEditor;
class RulesTable;

class OptionsForwardingPage : public OptionsPage
{
    Q_OBJECT
public:
    explicit OptionsForwardingPage(QWidget* parent = nullptr);
    void load(const OptionsData& shown) override;
    void store(OptionsData& proposal) const override;

private:
    QCheckBox* m_recursionOut;
    AddressListEditor* m_servers;
    QCheckBox* m_spoofSecure;
    RulesTable* m_rules; // Forward: a domain and its servers
};

} // namespace quorvane
