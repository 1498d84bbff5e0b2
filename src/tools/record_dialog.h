// The form that adds or changes one record: name, TTL, type, and one field per part of the type's
// data as the record-type table lists them (an SOA gets the same form with its seven fields).
#pragma once

#include "store/zone_parser.h"

#include <QDialog>

#include <optional>

class QComboBox;
class QFormLayout;
class QLineEdit;
class QSpinBox;

namespace quorvane {

class RecordDialog : public QDialog
{
    Q_OBJECT
public:
    // types: the type words offered ("A", "MX" ...); an SOA dialog offers only "SOA".
    RecordDialog(QString origin, const QStringList& types, QWidget* parent = nullptr);

    // Fills the form from a record of the zone.
    void setRecord(const ZoneRecord& record);
    // Sets a field by its label ("Name", "TTL", "Type", "Address" ...): for tests and defaults.
    void setField(const QString& label, const QString& value);
    // The record the form holds, or nothing with problem() saying which field is wrong and why.
    std::optional<ZoneRecord> record();
    const QString& problem() const { return m_problem; }

private:
    void showFields(const QString& type);
    void accept() override;

    QString m_origin;
    QString m_problem;
    QLineEdit* m_name;
    QSpinBox* m_ttl;
    QComboBox* m_type;
    QFormLayout* m_dataForm;
    QList<QLineEdit*> m_dataEdits;
};

} // namespace quorvane
