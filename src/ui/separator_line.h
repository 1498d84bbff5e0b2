// ctlLine3D: a sunken horizontal line that separates groups of fields in a dialog.
#pragma once

#include <QFrame>

namespace quorvane {

class ctlLine3D : public QFrame
{
    Q_OBJECT
public:
    explicit ctlLine3D(QWidget* parent = nullptr);
};

} // namespace quorvane
