// TraceTest.cpp - the undo trace file: opening and closing it, and one history whose trace shows
// every kind of line, with its indentation and both ways of printing a missing name.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>
#include <Base/Undo/kyUndoReport.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

using undotest::Record;
using undotest::TestCommand;

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line); lines.push_back(line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back(); // text mode on Windows writes CR LF
        }
    }
    return lines;
}

// As the trace prints an address after its "0x" (which the C library may print again).
std::string pointerText(const void* p) {
    char text[64];
    std::snprintf(text, sizeof text, "%p", p);
    return text;
}

// Each test ends with tracing off, which the other tests expect.
using TraceTest = kytest::TempDirTest;

// The expectation lists each kind of line where it first appears; the trace must contain them
// in this order and, in all, exactly as many lines as this history writes. Around the history:
// opening and closing the file, and a line too long for the formatter.
TEST_F(TraceTest, EveryKindOfLineInOneHistory) {
    kyUndoReport("nothing %d\n", 1); // no file: nothing happens
    const std::string file = path("undo-trace.txt");
    kyUndoReportInit(file.c_str());
    Record records[4];
    records[0].bytes = 100;
    records[1].failUndo = true;
    records[2].failDo = true;
    std::string at[4]; // the addresses of three commands and of the declared object
    int object = 0;
    at[3] = pointerText(&object);
    kyUndo::Manager* m = kyUndo::newManager();

    // An unnamed dynamic group, done by the application; its unnamed command fails to undo.
    kyUndo::Group* g = m->newGroup(nullptr, true);
    new TestCommand(&records[0], "alpha", g);
    at[0] = pointerText(new TestCommand(&records[1], nullptr, g));
    EXPECT_TRUE(g->doIt());
    EXPECT_FALSE(m->undoIt());
    // A command fails to do; the group is then invalid both ways and loses a declared object.
    g = m->newGroup("second", false);
    g->declarePointer(&object);
    at[1] = pointerText(new TestCommand(&records[2], "gamma", g));
    EXPECT_FALSE(g->doIt());
    EXPECT_FALSE(g->doIt());
    EXPECT_FALSE(g->undoIt());
    m->pointerDestroyed(&object);
    // The next group prunes it; an empty step is stepped over both ways up to the queue's ends.
    m->newGroup("empty", false);
    at[2] = pointerText(new TestCommand(&records[3], "delta", m->newGroup("last", false)));
    EXPECT_TRUE(m->undoIt());
    EXPECT_TRUE(m->undoIt());
    EXPECT_TRUE(m->doIt());
    EXPECT_TRUE(m->doIt());
    EXPECT_TRUE(m->undoIt());
    m->newGroup("next", false); // discards the undone group
    m->deleteLastGroup();
    m->associateGroups(1, 10);
    delete m;
    kyUndoReportInit(""); // an empty path only closes
    kyUndoReport("lost\n");
    kyUndoReportInit(dir().string().c_str()); // unopenable: tracing stays off
    kyUndoReport("lost too\n");
    kyUndoReportInit(file.c_str()); // reopened for appending
    kyUndoReport("%s and %d\n", std::string(3000, 'x').c_str(), 2);
    kyUndoReportInit(nullptr);
    kyUndoReport("not written\n");

    const std::string separator = "------------------------------";
    const std::string expected[] = {
        "",
        separator,
        "",
        "--------------------------------------------------------",
        "kyUndo::newGroup (noname, dynamic = 1)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (noname)",
        "    kyUndo::Command: new (noname, 0x" + at[0] + ")",
        "  + kyUndo::Group: doIt() - (noname) 2 commands 1124 bytes.",
        "    + kyUndo::Command: doIt ((null), 0x" + at[0] + "), 1024 bytes",
        "- kyUndo::Manager: undoIt() - 1 groups, 1124 bytes used",
        "  - kyUndo::Group: undoIt() - (noname) 2 commands 1124 bytes.",
        "    - kyUndo::Command: undoIt ((null), 0x" + at[0] + "), 1024 bytes",
        "    - kyUndo::Command: undo of noname returned failure.  Marking invalid.",
        "  ! kyUndo::Group: 'undo' of command 1 (noname) returnedfailure status",
        "  ! kyUndo::Group: marking group (noname) invalid.",
        "kyUndo::Manager: currentGroupIsInvalid()",
        "kyUndo::Manager: clearAllGroups()",
        "  kyUndo::Group: delete group (noname) - 1124 bytes",
        "    kyUndo::Command: delete (noname, 0x" + at[0] + ")",
        "kyUndo::newGroup (second, dynamic = 0)",
        "    + kyUndo::Command: doIt (gamma, 0x" + at[1] + "), 1024 bytes",
        "    - kyUndo::Command: 'do' of gamma returned failure.  Marking invalid.",
        "  ! kyUndo::Group: 'do' of command 0 (gamma) returnedfailure status",
        "  ! kyUndo::Group: marking group (second) invalid.",
        "  ! kyUndo::Group: doIt() - (second) invalid group.",
        "  ! kyUndo::Group: undoIt() - (second) invalid group.",
        "!   kyUndo::Group: pointer 0x" + at[3] + " declared by group has been destroyed",
        "!   kyUndo::Group: marking group (second) invalid.",
        "  kyUndo::Group: delete group (second) - 1024 bytes",
        "    - kyUndo::Command: undoIt (delta, 0x" + at[2] + "), 1024 bytes",
        "  - kyUndo::Group: undoIt() - (empty) 0 commands 0 bytes.",
        "- kyUndo::Manager: undoIt() - empty group, undoing again.",
        "- kyUndo::Manager: undoIt() - 2 groups, 1024 bytes used",
        "- kyUndo::Manager: undoIt() - at beginning of queue.",
        "+ kyUndo::Manager: doIt() - 2 groups, 1024 bytes used",
        "  + kyUndo::Group: doIt() - (empty) 0 commands 0 bytes.",
        "+ kyUndo::Manager: doIt() - empty group, doing again.",
        "+ kyUndo::Manager: doIt() - at end of queue.",
        "kyUndo::Manager: pruneUndoneGroups()",
        "  kyUndo::Group: delete group (last) - 1024 bytes",
        "kyUndo::Manager: deleteLastGroup()",
        "  kyUndo::Group: delete group (next) - 0 bytes",
        "kyUndo::Manager: associateGroups (1, 10)",
        "  kyUndo::Group: delete group (empty) - 0 bytes",
        "",
        separator,
        "",
        std::string(1023, 'x'),
    };
    const std::vector<std::string> actual = readLines(file);
    std::size_t found = 0;
    for (std::size_t i = 0; i < actual.size() && found < std::size(expected); ++i) {
        found += actual[i] == expected[found];
    }
    EXPECT_EQ(found, std::size(expected)) << "missing or out of order: " << expected[found];
    EXPECT_EQ(actual.size(), 85u);
    EXPECT_EQ(actual.back(), expected[std::size(expected) - 1]);
}

} // namespace
