#include "ui/ctl_ip.h"

#include "wire/addresses.h"

#include <QValidator>

namespace quorvane {

namespace {

// Lets through what can still become a dotted address; the address is complete with four parts.
class AddressValidator : public QValidator
{
public:
    using QValidator::QValidator;

    State validate(QString& input, int& /*pos*/) const override
    {
        if (input.isEmpty()) return Acceptable;
        const QStringList parts = input.split('.');
        if (parts.size() > 4) return Invalid;
        bool complete = parts.size() == 4;
        for (const QString& part : parts) {
            if (part.size() > 3) return Invalid;
            for (const QChar c : part)
                if (!c.isDigit()) return Invalid;
            if (part.isEmpty())
                complete = false;
            else if (part.toInt() > 255)
                return Invalid;
        }
        return complete ? Acceptable : Intermediate;
    }
};

} // namespace

ctlIP::ctlIP(QWidget* parent) : QLineEdit(parent)
{
    setValidator(new AddressValidator(this));
    setMaxLength(15);
}

QString ctlIP::text() const
{
    const QString typed = QLineEdit::text().trimmed();
    if (typed.isEmpty()) return {};
    return QString::fromStdString(CanonicalIP(typed.toStdString()));
}

void ctlIP::setText(const QString& address)
{
    QLineEdit::setText(
        address.trimmed().isEmpty() ? QString() : QString::fromStdString(CanonicalIP(address.toStdString())));
}

} // namespace quorvane
