// An editable list of IPv4 addresses for the options dialog: an entry box with "Add", and
// "Remove" for the selected entries. The list keeps each address once, in the order added. An
// entry's text is its address, which a note after a blank may follow (a page's own addition).
#pragma once

#include <QWidget>

#include <string>
#include <vector>

class QListWidget;

namespace quorvane {

class ctlIP;

class AddressListEditor : public QWidget
{
    Q_OBJECT
public:
    explicit AddressListEditor(QWidget* parent = nullptr);

    void setAddresses(const std::vector<std::string>& addresses);
    std::vector<std::string> addresses() const;

private:
    void addEntry();
    void removeSelected();

    ctlIP* m_entry;
    QListWidget* m_list;
};

} // namespace quorvane
