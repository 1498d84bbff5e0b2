// ctlIP: one entry box for an IPv4 address in dotted form. It accepts only digits and dots that can
// still become an address (at most four parts, each 0-255) and hands back the address in its plain
// dotted form.
#pragma once

#include <QLineEdit>

namespace quorvane {

class ctlIP : public QLineEdit
{
    Q_OBJECT
public:
    explicit ctlIP(QWidget* parent = nullptr);

    // The address in plain dotted form ("010.1.2.3" reads as "10.1.2.3", missing parts read as 0),
    // or an empty text when nothing is entered.
    QString text() const;
    // Shows an address; any text the address helper reads is shown in plain dotted form, and an
    // empty text leaves the box empty.
    void setText(const QString& address);
};

} // namespace quorvane
