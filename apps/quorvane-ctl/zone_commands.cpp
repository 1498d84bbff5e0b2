#include "zone_commands.h"

#include "replication/zone_edit.h"
#include "store/zone.h"
#include "store/zone_text.h"

#include <cctype>
#include <ctime>
#include <iostream>
#include <sstream>

namespace quorvane {

namespace {

ZoneCommandResult failure(std::string error)
{
    return {std::move(error), {}};
}

// The words of a text separated by blanks.
std::vector<std::string> wordsOf(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

std::string recordText(const ZoneDocument& document, size_t index)
{
    return zoneRecordLine(document.records()[index].record, document.origin())
        .value_or("(a record no line can show)");
}

// The indexes of the records a 'NAME TYPE [DATA]' text names, or an error.
std::vector<size_t> matching(const ZoneDocument& document, const std::string& text, std::string& error)
{
    const std::vector<std::string> words = wordsOf(text);
    std::string type = words.size() >= 2 ? words[1] : std::string();
    for (char& c : type)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const RecordType* row = findRecordType(type);
    if (row == nullptr) {
        error = "cannot read '" + text + "': give NAME TYPE [DATA] with a known type";
        return {};
    }
    std::optional<ZoneRecord> wanted;
    if (words.size() > 2) {
        // The data is read as a whole record line would be, so it is written the same ways.
        const size_t dataAt = text.find(words[1], text.find(words[0]) + words[0].size()) + words[1].size();
        wanted = readRecordLine(words[0] + " 0 " + type + text.substr(dataAt), document.origin());
        if (!wanted) {
            error = "cannot read the data of '" + text + "'";
            return {};
        }
    }
    const std::string owner = absoluteName(document.origin(), lowerAscii(words[0]));
    std::vector<size_t> found;
    for (size_t i = 0; i < document.records().size(); ++i) {
        const ZoneRecord& record = document.records()[i].record;
        if (record.owner != owner || record.type != row->code) continue;
        if (!wanted || (record.data == wanted->data && record.pref == wanted->pref)) found.push_back(i);
    }
    if (found.empty()) error = "no record '" + text + "' in zone " + document.origin();
    if (row->code == rtype::SOA)
        error = "the SOA record cannot be deleted (use set-serial to change its serial)";
    return error.empty() ? found : std::vector<size_t>();
}

std::string editRecords(ZoneDocument& document, const CtlCommandLine& cl)
{
    const std::string& text = cl.editArgs[1];
    if (cl.edit == "set-serial") {
        document.setSerial(static_cast<uint32_t>(std::stoul(text)));
        return document.serial() ? std::string() : "zone " + document.origin() + " has no SOA record";
    }
    if (cl.edit == "add-record") {
        const auto record = readRecordLine(text, document.origin());
        if (!record) return "cannot read record '" + text + "'";
        for (const ZoneEntry& entry : document.records())
            if (sameRecord(entry.record, *record))
                return "record '" + text + "' is already in zone " + document.origin();
        if (!document.add(*record)) return "record '" + text + "' cannot be written to a zone file";
        std::cout << "Added " << recordText(document, document.records().size() - 1) << '\n';
        return {};
    }
    std::string error;
    const std::vector<size_t> found = matching(document, text, error);
    for (auto index = found.rbegin(); index != found.rend(); ++index) {
        std::cout << "Deleted " << recordText(document, *index) << '\n';
        document.remove(*index);
    }
    return error;
}

ZoneCommandResult listZones(const std::filesystem::path& data)
{
    for (const ZoneFileInfo& zone : listZoneFiles(data))
        std::cout << zone.zone << (zone.secondary ? " secondary" : " primary") << '\n';
    return {};
}

ZoneCommandResult save(OpenZone& zone, bool raiseSerial)
{
    const std::time_t now = std::time(nullptr);
    std::tm today{};
    localtime_r(&now, &today);
    const SaveOptions options{false, raiseSerial, today.tm_year + 1900, today.tm_mon + 1, today.tm_mday};
    switch (saveZoneFile(zone, options)) {
    case SaveOutcome::Unchanged:
        std::cout << "Zone " << zone.document.origin() << " is unchanged\n";
        return {};
    case SaveOutcome::ChangedOnDisk:
        return failure(zone.path.string() + " changed while it was being edited");
    case SaveOutcome::WriteFailed:
        return failure("cannot write " + zone.path.string());
    case SaveOutcome::Saved:
        break;
    }
    const std::string& origin = zone.document.origin();
    if (const auto serial = zone.document.serial())
        std::cout << "Zone " << origin << " serial " << *serial << '\n';
    return {{}, "RELOAD P " + (origin == "." ? origin : origin.substr(0, origin.size() - 1))};
}

} // namespace

ZoneCommandResult runZoneCommand(const CtlCommandLine& cl, const std::filesystem::path& folder)
{
    const std::filesystem::path data = folder / "data";
    std::error_code ec;
    if (!std::filesystem::is_directory(data, ec)) return failure("no data folder in " + folder.string());
    if (cl.edit == "zones") return listZones(data);
    std::string error;
    auto zone = openZoneFile(data, cl.editArgs[0], error);
    if (!zone) return failure(error);
    const ZoneDocument& document = zone->document;
    if (cl.edit == "records") {
        for (size_t i = 0; i < document.records().size(); ++i)
            std::cout << recordText(document, i) << '\n';
        return {};
    }
    if (!document.comments().primaryIP.empty())
        return failure("zone " + document.origin() + " is a copy of " + document.comments().primaryIP +
                       "; change it there");
    error = editRecords(zone->document, cl);
    if (!error.empty()) return failure(error);
    return save(*zone, cl.edit != "set-serial");
}

} // namespace quorvane
