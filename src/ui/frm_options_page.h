// What every page of the options dialog does: show its part of the settings (load) and write its
// fields back into a proposal (store). The dialog checks and applies the proposal as a whole.
#pragma once

#include "ui/frm_options.h"

#include <QWidget>

namespace quorvane {

class OptionsPage : public QWidget
{
public:
    using QWidget::QWidget;
    virtual void load(const OptionsData& shown) = 0;
    virtual void store(OptionsData& proposal) const = 0;
};

} // namespace quorvane
