// The options dialog's "Filtering" page: the block lists with what each gave at its last reading
// and fetch, the allow list, the clients never filtered, the answer to blocked questions, how often
// lists at addresses are fetched, and "Update lists now".
#pragma once

#include "ui/frm_options_page.h"

class QComboBox;
class QLineEdit;
class QSpinBox;
class QTreeWidget;
class QListWidget;

namespace quorvane {

class AddressListEditor;

class OptionsFilteringPage : public OptionsPage
{
    Q_OBJECT
public:
    explicit OptionsFilteringPage(frmOptions& dialog, QWidget* parent = nullptr);
    void load(const OptionsData& shown) override;
    void store(OptionsData& proposal) const override;

private:
    QWidget* sourcesBox();
    QWidget* allowBox();
    void addSource();
    void addAllowed();

    QTreeWidget* m_sources;
    QLineEdit* m_newSource;
    QListWidget* m_allow;
    QLineEdit* m_newAllowed;
    AddressListEditor* m_noFilter;
    QComboBox* m_answer;
    QSpinBox* m_update;
};

} // namespace quorvane
