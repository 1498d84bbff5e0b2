// A page of plain flags, one check box each: the options dialog's "Logging" and "Extensions".
#pragma once

#include "ui/frm_options_page.h"

class QCheckBox;

namespace quorvane {

class OptionsFlagsPage : public OptionsPage
{
    Q_OBJECT
public:
    struct Flag
    {
        bool Settings::*member;
        const char* objectName;
        QString text;
    };
    // withFormLabels: the texts stand left of their boxes (the labels ending in ':'); otherwise
    // each box carries its text. A note, when given, heads the page.
    OptionsFlagsPage(std::vector<Flag> flags, bool withFormLabels, const QString& note = {});
    void load(const OptionsData& shown) override;
    void store(OptionsData& proposal) const override;

    static OptionsFlagsPage* logging();
    static OptionsFlagsPage* extensions();

private:
    std::vector<Flag> m_flags;
    std::vector<QCheckBox*> m_boxes;
};

} // namespace quorvane
