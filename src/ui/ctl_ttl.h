// ctlTTL: a span of seconds edited as days, hours and minutes (time to live, lease periods, scan
// intervals).
#pragma once

#include <QWidget>

#include <cstdint>

class QSpinBox;

namespace quorvane {

class ctlTTL : public QWidget
{
    Q_OBJECT
public:
    explicit ctlTTL(QWidget* parent = nullptr);

    // The span shown, in seconds. Seconds that setSeconds gave below a whole minute are kept until
    // the operator changes a field, so that opening and confirming the dialog changes nothing.
    int32_t seconds() const;
    // Shows a span; a negative one shows as 0.
    void setSeconds(int32_t seconds);

private:
    QSpinBox* m_days;
    QSpinBox* m_hours;
    QSpinBox* m_minutes;
    int32_t m_leftover = 0; // seconds below a whole minute, from setSeconds
};

} // namespace quorvane
