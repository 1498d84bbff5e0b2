// The options dialog's "General" page: server name, start-up, hosts file, binding, recursion and
// cache.
#pragma once

#include "ui/frm_options_page.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;

namespace quorvane {

class ctlTTL;

class OptionsGeneralPage : public OptionsPage
{
    Q_OBJECT
public:
    explicit OptionsGeneralPage(frmOptions& dialog);
    void load(const OptionsData& shown) override;
    void store(OptionsData& proposal) const override;

private:
    void browseHosts();
    void editHosts();
    void fillRecursion(const QString& keep);

    frmOptions& m_dialog;
    std::vector<std::string> m_localAddresses;
    QLineEdit* m_name;
    QCheckBox* m_startMini;
    QLineEdit* m_hosts;
    ctlTTL* m_hostsTtl;
    QComboBox* m_bind;
    QComboBox* m_recursion;
    QCheckBox* m_autoCname;
    ctlTTL* m_cacheTtl;
    QCheckBox* m_cacheReload;
    ctlTTL* m_checkNew;
    QSpinBox* m_cacheSize;
};

} // namespace quorvane
