#include "replication/zone_checks.h"
#include "replication/zone_edit.h"
#include "store/record_data.h"
#include "store/zone_text.h"

#include "support/temp_folder.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace quorvane {
namespace {

const std::filesystem::path kGolden = QUORVANE_ZONE_EDIT_DATA;

ZoneRecord record(std::string_view line)
{
    return readRecordLine(line, "office.test.").value_or(ZoneRecord{});
}

size_t find(const ZoneDocument& document, std::string_view line)
{
    const ZoneRecord wanted = record(line);
    for (size_t i = 0; i < document.records().size(); ++i)
        if (sameRecord(document.records()[i].record, wanted)) return i;
    return document.records().size();
}

// Applies the operations of one line of edits.txt, after the golden file's name.
bool applyEdits(ZoneDocument& d, const test::Args& edit)
{
    bool done = true;
    for (size_t i = 1; i + 1 < edit.size(); i += 2) {
        const std::string& op = edit[i];
        const std::string& line = edit[i + 1];
        if (op == "add") done = done && d.add(record(line));
        if (op == "remove") done = done && d.remove(find(d, line));
        if (op == "replace") done = done && d.replace(find(d, line), record(edit[++i + 1]));
        if (op == "serial") done = done && d.setSerial(static_cast<uint32_t>(std::stoul(line)));
        if (op == "transfer") {
            std::istringstream words(line);
            d.setTransferSettings({std::istream_iterator<std::string>(words), {}}, true);
            done = done && d.comments().notSecure && !d.comments().notify.empty();
        }
    }
    return done;
}

// Each edit of office.test.dns against its golden result: every line it did not touch stays.
TEST(ZoneEdit, EditsKeepEveryLineTheyDoNotTouch)
{
    std::ifstream edits(kGolden / "edits.txt");
    size_t checked = 0;
    const std::string input = test::fileText(kGolden / "office.test.dns");
    for (std::string line; std::getline(edits, line); ++checked) {
        if (line.starts_with('#')) continue;
        const test::Args edit = test::tableFields(line);
        SCOPED_TRACE(line);
        ZoneDocument document("office.test.", input);
        const size_t before = document.records().size();
        ASSERT_TRUE(applyEdits(document, edit));
        test::expectGoldenFile(kGolden / edit[0], document.text());
        // The edited text reads back to the records the document holds.
        const ZoneDocument reread("office.test.", document.text());
        ASSERT_EQ(reread.records().size(), document.records().size());
        for (size_t i = 0; i < reread.records().size(); ++i)
            EXPECT_TRUE(sameRecord(reread.records()[i].record, document.records()[i].record)) << i;
        EXPECT_EQ(document.modified(), edit[0] != "office.test.dns");
        EXPECT_GE(reread.records().size() + 2, before);
    }
    EXPECT_GE(checked, 12u);
}

TEST(ZoneEdit, RecordsWithoutAFaithfulLineAreRefused)
{
    ZoneDocument document("office.test.", "");
    ZoneRecord dfcn = record("www A 10.0.0.1");
    dfcn.type = rtype::DFCN;
    ZoneRecord shortAddress = record("www A 10.0.0.1");
    shortAddress.data.pop_back();
    ZoneRecord blankOwner = record("www A 10.0.0.1");
    blankOwner.owner = "a b.office.test.";
    for (const ZoneRecord& bad : {dfcn, shortAddress, blankOwner, ZoneRecord{}})
        EXPECT_FALSE(document.add(bad));
    EXPECT_FALSE(document.remove(0));
    EXPECT_FALSE(document.setSerial(5));
}

TEST(ZoneEdit, SerialsChecksAndRecordLinesFromTheirTable)
{
    const test::Calls calls = {
        {"nextSerial",
         [](const test::Args& a) {
             return std::to_string(nextSerial(static_cast<uint32_t>(std::stoul(a[0])), 2026, 11, 24));
         }},
        {"zoneProblems",
         [](const test::Args& a) {
             const auto problems = zoneProblems(ZoneDocument("office.test.", a[0]));
             std::string all;
             for (const std::string& problem : problems)
                 all += (all.empty() ? "" : " / ") + problem;
             return all;
         }},
        {"readRecordLine",
         [](const test::Args& a) {
             const auto read = readRecordLine(a[0], "office.test.");
             if (!read) return std::string("none");
             clDNSRecord stored;
             stored.RecType = read->type;
             stored.Data = read->data;
             return read->owner + " " + recordDataText(stored).value_or("?");
         }},
    };
    test::runCallTable(QUORVANE_REPLICATION_DATA "/zone_calls.txt", calls, 15);
}

// Saving: nothing written without a change, the serial raised with one, and a file changed on
// disk since it was opened left alone unless the caller says to overwrite it.
TEST(ZoneEdit, SavesOnlyChangesAndAsksBeforeOverwritingAnotherWrite)
{
    const test::TempFolder temp;
    const std::filesystem::path& folder = temp.path();
    temp.write("office.test.dns", test::fileText(kGolden / "office.test.dns"));
    temp.write("copy.test.dns", "; PrimaryIP 10.0.0.7\n");
    temp.write("notes.txt", "not a zone\n");
    std::string listed;
    for (const auto& file : listZoneFiles(folder))
        listed += file.zone + (file.secondary ? " secondary, " : " primary, ");
    EXPECT_EQ(listed, "copy.test. secondary, office.test. primary, ");

    const SaveOptions today{false, true, 2026, 11, 24};
    std::string error;
    auto zone = openZoneFile(folder, "Office.Test", error);
    ASSERT_TRUE(zone) << error;
    EXPECT_EQ(saveZoneFile(*zone, today), SaveOutcome::Unchanged);
    ASSERT_TRUE(zone->document.add(record("www 3600 A 10.0.0.81")));
    std::ofstream(folder / "office.test.dns", std::ios::app) << "; a transfer came in\n";
    EXPECT_EQ(saveZoneFile(*zone, today), SaveOutcome::ChangedOnDisk);
    EXPECT_EQ(saveZoneFile(*zone, {true, true, 2026, 11, 24}), SaveOutcome::Saved);
    test::expectGoldenFile(kGolden / "saved.dns", test::fileText(folder / "office.test.dns"));
    EXPECT_FALSE(changedOnDisk(*zone));
    EXPECT_FALSE(std::filesystem::exists(folder / "office.test.dns.tmp"));
    EXPECT_FALSE(openZoneFile(folder, "missing.test", error));
    EXPECT_EQ(error, "no zone file " + (folder / "missing.test.dns").string());
}

} // namespace
} // namespace quorvane
