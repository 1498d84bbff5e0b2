// The options dialog's "Blocking" page: flood protection, the blocked addresses and the addresses
// never blocked.
#pragma once

#include "ui/frm_options_page.h"

class QCheckBox;
class QSpinBox;

namespace quorvane {

class AddressListEditor;

class OptionsBlockingPage : public OptionsPage
{
    Q_OBJECT
public:
    explicit OptionsBlockingPage(QWidget* parent = nullptr);
    void load(const OptionsData& shown) override;
    void store(OptionsData& proposal) const override;

private:
    QSpinBox* m_bombLevel;
    QCheckBox* m_logBlock;
    AddressListEditor* m_blocked;
    AddressListEditor* m_noBlock;
};

} // namespace quorvane
