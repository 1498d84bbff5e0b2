// Reads arbitrary bytes as a zone file and edits it the way the records editor does: every record
// written anew in its place, the first one deleted, the serial set. A finding is any crash, and
// any edit after which the text does not read back to exactly the records the edit should leave.
#include "fuzz_support.h"
#include "replication/zone_document.h"

namespace {

using namespace quorvane;
using fuzz::check;

std::vector<ZoneRecord> recordsOf(const ZoneDocument& document)
{
    std::vector<ZoneRecord> records;
    for (const ZoneEntry& entry : document.records())
        records.push_back(entry.record);
    return records;
}

// The document's text read from scratch gives the records wanted, in order.
void checkReadsBack(const ZoneDocument& document, const std::vector<ZoneRecord>& wanted)
{
    const std::vector<ZoneRecord> got = recordsOf(ZoneDocument(document.origin(), document.text()));
    check(got.size() == wanted.size());
    for (size_t i = 0; i < got.size(); ++i)
        check(sameRecord(got[i], wanted[i]));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ZoneDocument document("fuzz.example.", std::string(fuzz::bytesOf(data, size)));
    check(document.text() == document.originalText());
    const std::vector<ZoneRecord> records = recordsOf(document);
    for (size_t i = 0; i < records.size(); ++i)
        document.replace(i, records[i]);
    checkReadsBack(document, records);
    if (!records.empty()) {
        check(document.remove(0));
        checkReadsBack(document, std::vector<ZoneRecord>(records.begin() + 1, records.end()));
    }
    if (document.setSerial(7)) check(document.serial() == 7u);
    return 0;
}
