// The chain an unpacked Palm HTML text goes through: its steps in order and what each changes.
#include <gtest/gtest.h>

#include <algorithm>

#include "import/palm/PalmHtmlChain.h"
#include "common/Text.h"
#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"

namespace pw::import::palm {
namespace {

struct Job {
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages{sink};
  common::Session session{progress, messages};
};

TEST(PalmHtmlChain, EveryStepInOrderAndTheReaderTagsGone) {
  Job job;
  const std::string html =
      "\r\n<html><head><title>T</title><style>p{}</style><guide><reference type=\"toc\" /></guide></head>"
      "<body><!pwfile x=1><meta name=a>"
      "<metadata><dc:title>Meta</dc:title></metadata>"
      "<h1>Chapter&#160;One</h1><p>A long line that is brok-\r\nen here, a <a filepos=0000012>link</a>, "
      "<a filepos=\"77\" href=x>another</a>.</p>"
      "<mbp:pagebreak/><br/><br /><br><br><br><hr width=5>"
      "<p>Next \xC2\xA0 text \x01Marked title\x02 in a <mbp:frameset>frame</mbp:frameset>.</p>"
      "</body></html>";
  const std::string out = RunPalmHtmlChain(html, job.session, {});
  std::vector<std::string> expected(std::begin(kPalmChainSteps), std::end(kPalmChainSteps));
  EXPECT_EQ(job.progress.statuses, expected);

  for (const std::string_view gone : {"<head", "<title", "<style", "<guide", "<reference", "pwfile", "<meta",
                                      "<metadata", "dc:title", "Meta", "filepos", "mbp:", "<html", "<body", "\xC2\xA0",
                                      "&#160;", "<hr", "\x01", "\x02"})
    EXPECT_EQ(out.find(gone), std::string::npos) << gone << "\n" << out;
  EXPECT_NE(out.find("<h1>Chapter&nbsp;One</h1>"), std::string::npos) << out;
  EXPECT_NE(out.find("broken here, a <a>link</a>, <a href=x>another</a>.</p>\r\n"), std::string::npos) << out;
  EXPECT_NE(out.find("Next &nbsp; text <h2>Marked title</h2> in a frame."), std::string::npos) << out;
  // The page break and the five breaks after it, and the rule: no more than two in a row.
  EXPECT_EQ(common::CountOccurrences(out, "<br>"), 2u) << out;
  EXPECT_TRUE(out.starts_with("<h1>")) << out;
}

TEST(PalmHtmlChain, ClearsUpHyphensOnlyInsideWords) {
  EXPECT_EQ(JoinHyphenatedLines("con-\r\ntinue, \xD0\xB4\xD0\xBE-\r\n\xD0\xBC"), "continue, \xD0\xB4\xD0\xBE\xD0\xBC");
  EXPECT_EQ(JoinHyphenatedLines("word -\r\nnext"), "word -\r\nnext");       // a dash, not a hyphen
  EXPECT_EQ(JoinHyphenatedLines("Anglo-\r\nSaxon"), "Anglo-\r\nSaxon");     // a capital keeps the hyphen
  EXPECT_EQ(JoinHyphenatedLines("end-\r\n"), "end-\r\n");
}

TEST(PalmHtmlChain, TagHelpers) {
  EXPECT_EQ(RemoveAttribute("<a filepos=00012 id=x>a</a><p FILEPOS='3'>", "filepos"), "<a id=x>a</a><p>");
  EXPECT_EQ(RemoveAttribute("<a filepos=\"unclosed>", "filepos"), "<a");
  EXPECT_EQ(RemovePrefixedTags("<mbp:section>x</mbp:section><p>y</p><dc:x a=1/>z <a:"), "x<p>y</p>z <a:");
  EXPECT_EQ(CollapseLineBreaks("a<br><BR> \r\n<br><br>b<br>c"), "a<br><br>b<br>c");
}

}  // namespace
}  // namespace pw::import::palm
