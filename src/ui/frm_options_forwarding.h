// The options dialog's "Forwarding" page: forwarding to external servers and the answers accepted
// from them; the TLS name of each forwarder, and the files of TLS.
#pragma once

#include "ui/frm_options_page.h"

#include <map>
#include <string>

class QCheckBox;
class QFormLayout;
class QLineEdit;
class QListWidget;
class QListWidgetItem;

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

    // TLS: the name of the selected forwarder (shown after its address), and the files.
    void showTlsName(QListWidgetItem* item);
    void setTlsName(const QString& name);
    void addTlsRows(QFormLayout* form);
    QListWidget* m_list;
    QLineEdit* m_tlsName;
    QLineEdit* m_caFile;
    QLineEdit* m_certFile;
    QLineEdit* m_keyFile;
    std::map<std::string, std::string> m_tlsNames;
};

} // namespace quorvane
