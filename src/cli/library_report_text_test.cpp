#include "cli/library_report_text.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

TEST(LibraryReportTextTest, VerifyTellsEachFindingAndFailsWhenOneStays) {
  VerifyReport report;
  report.findings = {{FindingKind::entryWithoutFile, "/captures/a\tb.png", true},
                     {FindingKind::damagedPicture, "/captures/c.png", false}};
  report.notJudged = {"/captures/d.png"};
  report.silentFolders = {"/mnt/nas"};
  report.captures = 1;
  report.bytes = 2000;
  const CommandReply reply = replyTo(report, false);
  EXPECT_EQ(reply.status, ExitStatus::failed);
  EXPECT_EQ(reply.output,
            "entry without file\t/captures/a b.png\trepaired\n"
            "damaged picture\t/captures/c.png\n"
            "1 capture, 2 kB\n");
  EXPECT_EQ(reply.error,
            "/mnt/nas is out of reach: it does not answer.\n"
            "2 found, 1 repaired.\n"
            "/captures/d.png may be work under way and is not judged yet.\n");
  report.findings.pop_back();
  const CommandReply repaired = replyTo(report, true);
  EXPECT_EQ(repaired.status, ExitStatus::done);
  EXPECT_EQ(repaired.output,
            R"({"finding":"entry without file","path":"/captures/a\tb.png","repaired":true})"
            "\n"
            R"({"captures":1,"bytes":2000})"
            "\n");
  EXPECT_EQ(replyTo(VerifyReport{.wasStopped = true}, false).status, ExitStatus::cancelled);
  EXPECT_EQ(replyTo(VerifyReport{.indexNotSaved = "the disk is full"}, false).error,
            "The library's index could not be saved: the disk is full.\n");
}

}  // namespace
}  // namespace vantorel
