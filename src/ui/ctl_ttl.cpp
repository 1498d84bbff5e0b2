#include "ui/ctl_ttl.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>

#include <algorithm>
#include <limits>

namespace quorvane {

namespace {

constexpr int32_t kMinute = 60;
constexpr int32_t kHour = 60 * kMinute;
constexpr int32_t kDay = 24 * kHour;
// Whole days that still fit a 32-bit count of seconds with 23 hours and 59 minutes added.
constexpr int kMaxDays = (std::numeric_limits<int32_t>::max() - kDay) / kDay;

} // namespace

ctlTTL::ctlTTL(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    const auto addField = [&](int maximum, const QString& unit) {
        auto* box = new QSpinBox(this);
        box->setRange(0, maximum);
        box->setAlignment(Qt::AlignRight);
        layout->addWidget(box);
        layout->addWidget(new QLabel(unit, this));
        connect(box, &QSpinBox::valueChanged, this, [this] { m_leftover = 0; });
        return box;
    };
    m_days = addField(kMaxDays, tr("days"));
    m_hours = addField(23, tr("hours"));
    m_minutes = addField(59, tr("minutes"));
    layout->addStretch();
}

int32_t ctlTTL::seconds() const
{
    return m_days->value() * kDay + m_hours->value() * kHour + m_minutes->value() * kMinute + m_leftover;
}

void ctlTTL::setSeconds(int32_t seconds)
{
    seconds = std::max(seconds, 0);
    m_days->setValue(std::min(seconds / kDay, kMaxDays));
    m_hours->setValue(seconds % kDay / kHour);
    m_minutes->setValue(seconds % kHour / kMinute);
    m_leftover = seconds % kMinute;
}

} // namespace quorvane
