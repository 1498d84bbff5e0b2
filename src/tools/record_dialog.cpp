#include "tools/record_dialog.h"

#include "replication/zone_document.h"
#include "store/record_data.h"
#include "store/zone_text.h"
#include "wire/addresses6.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QSpinBox>
#include <QVBoxLayout>

#include <limits>

namespace quorvane {

namespace {

// The labels of a type's data fields, in the order of the record-type table.
QStringList fieldLabels(const QString& type)
{
    if (type == "A" || type == "AAAA") return {"Address"};
    if (type == "CNAME") return {"Target name"};
    if (type == "NS") return {"Name server"};
    if (type == "PTR") return {"Host name"};
    if (type == "MX") return {"Preference", "Mail server"};
    if (type == "TXT") return {"Text"};
    if (type == "SRV") return {"Priority", "Weight", "Port", "Target"};
    if (type == "CAA") return {"Flags", "Tag", "Value"};
    if (type == "SOA")
        return {"Primary server", "Mailbox", "Serial", "Refresh", "Retry", "Expire", "Minimum"};
    return {};
}

// Free text as one quoted zone-file string: quotes, backslashes and ";" (which would start a
// comment) escaped. Text already in quotes is taken as written.
QString quoted(const QString& text)
{
    if (text.startsWith('"')) return text;
    QString out = "\"";
    for (const QChar c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c == ';' ? QString("\\059") : QString(c);
    }
    return out + '"';
}

// Why a field's text is no value of its kind; empty when it is.
QString fieldProblem(Field field, const QString& label, const QString& text)
{
    const std::string value = text.trimmed().toStdString();
    if (value.empty()) return label + " is empty";
    const bool number = field == Field::Number8 || field == Field::Number16 || field == Field::Number32 ||
                        field == Field::Preference;
    if (number && !parseNumber(value)) return label + ": '" + text + "' is not a number";
    if (field == Field::IPv4 && !parseAddress(value))
        return label + ": '" + text + "' is not an IPv4 address";
    if (field == Field::IPv6 && !parseAddress6(value))
        return label + ": '" + text + "' is not an IPv6 address";
    if (field == Field::Name && value.find_first_of(" ;()\"") != std::string::npos)
        return label + ": '" + text + "' is not a name";
    return {};
}

} // namespace

RecordDialog::RecordDialog(QString origin, const QStringList& types, QWidget* parent)
    : QDialog(parent), m_origin(std::move(origin)), m_name(new QLineEdit), m_ttl(new QSpinBox),
      m_type(new QComboBox), m_dataForm(new QFormLayout)
{
    setWindowTitle(types == QStringList{"SOA"} ? tr("Start of Authority") : tr("Record"));
    m_ttl->setRange(0, std::numeric_limits<int32_t>::max());
    m_ttl->setValue(86400);
    m_type->addItems(types);
    auto* form = new QFormLayout;
    form->addRow(tr("Name"), m_name);
    form->addRow(tr("TTL"), m_ttl);
    form->addRow(tr("Type"), m_type);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &RecordDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_type, &QComboBox::currentTextChanged, this, &RecordDialog::showFields);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(m_dataForm);
    layout->addWidget(buttons);
    m_name->setPlaceholderText(tr("host, or @ for the zone itself"));
    showFields(m_type->currentText());
    setMinimumWidth(420);
}

void RecordDialog::showFields(const QString& type)
{
    while (m_dataForm->rowCount() > 0)
        m_dataForm->removeRow(0);
    m_dataEdits.clear();
    for (const QString& label : fieldLabels(type)) {
        auto* edit = new QLineEdit;
        m_dataEdits.push_back(edit);
        m_dataForm->addRow(label, edit);
    }
}

void RecordDialog::setField(const QString& label, const QString& value)
{
    if (label == "Name") return m_name->setText(value);
    if (label == "TTL") return m_ttl->setValue(value.toInt());
    if (label == "Type") return m_type->setCurrentText(value);
    const int index = static_cast<int>(fieldLabels(m_type->currentText()).indexOf(label));
    if (index >= 0) m_dataEdits[index]->setText(value);
}

void RecordDialog::setRecord(const ZoneRecord& record)
{
    const RecordType* row = findRecordType(record.type);
    if (row == nullptr) return;
    m_type->setCurrentText(
        QString::fromLatin1(row->mnemonic.data(), static_cast<qsizetype>(row->mnemonic.size())));
    const std::string line = zoneRecordLine(record, m_origin.toStdString()).value_or("");
    // "owner TTL TYPE field field ...": the last field takes what is left (a TXT's strings).
    QStringList words = QString::fromStdString(line).split(' ');
    m_name->setText(words.value(0));
    m_ttl->setValue(record.ttl);
    words = words.mid(3);
    for (int i = 0; i < m_dataEdits.size() && !words.isEmpty(); ++i)
        m_dataEdits[i]->setText(i + 1 == m_dataEdits.size() ? words.join(' ') : words.takeFirst());
}

std::optional<ZoneRecord> RecordDialog::record()
{
    const QString type = m_type->currentText();
    const RecordType* row = findRecordType(type.toStdString());
    const QString name = m_name->text().trimmed();
    m_problem =
        name.isEmpty() || name.contains(' ') ? tr("Name: give a host name, or @ for the zone") : QString();
    QString line = name + ' ' + QString::number(m_ttl->value()) + ' ' + type;
    int index = 0;
    for (const Field field : row ? row->fields : FieldList{}) {
        const QString label = fieldLabels(type).value(index);
        const QString text = m_dataEdits.value(index++)->text().trimmed();
        if (m_problem.isEmpty()) m_problem = fieldProblem(field, label, text);
        line += ' ' + (field == Field::Strings || field == Field::Rest ? quoted(text) : text);
    }
    if (!m_problem.isEmpty()) return std::nullopt;
    auto record = readRecordLine(line.toStdString(), m_origin.toStdString());
    if (!record)
        m_problem = tr("This %1 record cannot be written to a zone file: check its fields").arg(type);
    return record;
}

void RecordDialog::accept()
{
    if (record()) return QDialog::accept();
    QMessageBox::warning(this, windowTitle(), m_problem);
}

} // namespace quorvane
