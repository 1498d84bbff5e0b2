// The about box, built in code: an icon beside three lines of text, and OK.
#include "ui/about_box.h"

#include "host/version.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>

// The icons live in this static library; nothing names their resource file's object, so the linker
// would leave it out of the program unless it is referenced here. Must stand outside any namespace.
static int registerIcons()
{
    Q_INIT_RESOURCE(icons);
    return 0;
}
[[maybe_unused]] static const int iconsRegistered = registerIcons();

namespace quorvane {

namespace {

QLabel* textLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

void showAboutBox(QWidget* parent)
{
    auto* box = new QDialog(parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QStringLiteral("About Quorvane"));

    auto* icon = new QLabel(box);
    icon->setPixmap(QIcon(QStringLiteral(":/icons/quorvane.svg")).pixmap(64, 64));
    QLabel* name = textLabel(QStringLiteral("Quorvane"), box);
    QFont large = name->font();
    large.setPointSizeF(large.pointSizeF() * 1.6);
    large.setBold(true);
    name->setFont(large);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, box);
    QObject::connect(buttons, &QDialogButtonBox::accepted, box, &QDialog::accept);

    auto* layout = new QGridLayout(box);
    layout->setHorizontalSpacing(18);
    layout->addWidget(icon, 0, 0, 3, 1, Qt::AlignTop);
    layout->addWidget(name, 0, 1);
    layout->addWidget(textLabel(QStringLiteral("Version %1").arg(QString::fromStdString(versionText())), box),
                      1, 1);
    layout->addWidget(textLabel(QStringLiteral("DNS and DHCP server for small networks"), box), 2, 1);
    layout->addWidget(buttons, 3, 0, 1, 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    box->open();
}

} // namespace quorvane
