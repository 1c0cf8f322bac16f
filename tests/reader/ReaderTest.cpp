#include "reader/Reader.h"

#include <gtest/gtest.h>

#include "markup/BookMarkup.h"

namespace pw::reader {
namespace {

TEST(Reader, PageNumbers) {
  // A book shorter than one page: page 1 of 1.
  EXPECT_EQ(ComputePageNumbers(0, 650, 300).current, 1);
  EXPECT_EQ(ComputePageNumbers(0, 650, 300).total, 1);
  // 2.5 page heights: 2 pages, and at its end the current page stays 2.
  EXPECT_EQ(ComputePageNumbers(0, 400, 1000).total, 2);
  EXPECT_EQ(ComputePageNumbers(399, 400, 1000).current, 1);
  EXPECT_EQ(ComputePageNumbers(400, 400, 1000).current, 2);
  EXPECT_EQ(ComputePageNumbers(600, 400, 1000).current, 2);
  // The page height is rounded first.
  EXPECT_EQ(ComputePageNumbers(0, 399.6, 1200).total, 3);
  EXPECT_EQ(ComputePageNumbers(0, 0, 1000).total, 1);
  EXPECT_EQ(PageLabel(3), "- 3 -");
  EXPECT_EQ(TotalLabel(12), "12 pages");
}

TEST(Reader, AutoScrollAndGeometries) {
  EXPECT_EQ(AutoScrollIntervalMs(7.0), 143);
  EXPECT_EQ(AutoScrollIntervalMs(1.0), 1000);  // one line a second
  EXPECT_EQ(AutoScrollIntervalMs(50.0), 20);
  EXPECT_EQ(AutoScrollIntervalMs(0.0), 0);
  common::Settings settings;
  EXPECT_EQ(ScrollSpeed(settings, "lines"), 1.0);
  EXPECT_EQ(ScrollSpeed(settings, "pixels"), 7.0);
  EXPECT_EQ(GeometryFor("pocket book", settings).width, 320);
  settings.readerUserWidth = 555;
  EXPECT_EQ(GeometryFor("user", settings).width, 555);
  EXPECT_EQ(GeometryFor("no such", settings).name, "standard book");
  EXPECT_EQ(PageGeometries().size(), 9u);
}

TEST(Reader, AlarmClock) {
  AlarmTime time{7, 59};
  time = StepAlarmMinute(time, 1);
  EXPECT_EQ(TwoDigits(time.hour) + ":" + TwoDigits(time.minute), "08:00");
  EXPECT_EQ(StepAlarmHour({23, 5}, 1).hour, 0);
  EXPECT_EQ(StepAlarmHour({0, 5}, -1).hour, 23);
  const AlarmTime back = StepAlarmMinute({0, 0}, -1);
  EXPECT_EQ(back.hour, 23);
  EXPECT_EQ(back.minute, 59);
}

TEST(Reader, EmptyBooksHaveNothingToRead) {
  EXPECT_FALSE(HasTextToRead(markup::MakeSeedDocument(true)));
  EXPECT_FALSE(HasTextToRead("<HTML><HEAD><TITLE>x</TITLE></HEAD><BODY><DIV>&nbsp;&nbsp;</DIV></BODY></HTML>"));
  EXPECT_TRUE(HasTextToRead(markup::MakeBlankBook()));
}

}  // namespace
}  // namespace pw::reader
