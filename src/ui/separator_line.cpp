#include "ui/separator_line.h"

namespace quorvane {

ctlLine3D::ctlLine3D(QWidget* parent) : QFrame(parent)
{
    setFrameShape(QFrame::HLine);
    setFrameShadow(QFrame::Sunken);
    setLineWidth(1);
    setMidLineWidth(0);
}

} // namespace quorvane
