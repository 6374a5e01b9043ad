// TraceTest.cpp - the undo trace file: the reporting functions and one whole scenario's trace.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>
#include <Base/Undo/kyUndoReport.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

using undotest::Record;
using undotest::TestCommand;

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back(); // text mode on Windows writes CR LF
        }
        lines.push_back(line);
    }
    return lines;
}

std::string pointerText(const void* p) {
    char text[64];
    std::snprintf(text, sizeof text, "%p", p);
    return text;
}

// Replaces every "{X}" of `line` by the pointer text registered for X.
std::string expand(std::string line, const std::map<char, std::string>& pointers) {
    for (const auto& entry : pointers) {
        const std::string key = std::string("{") + entry.first + "}";
        for (std::size_t at = line.find(key); at != std::string::npos; at = line.find(key)) {
            line.replace(at, key.size(), entry.second);
        }
    }
    return line;
}

class TraceTest : public kytest::TempDirTest {
protected:
    void TearDown() override {
        kyUndoReportInit(nullptr); // never leave tracing on for other tests
        kytest::TempDirTest::TearDown();
    }
};

TEST_F(TraceTest, InitAppendsASeparatorAndLongTextIsCut) {
    kyUndoReport("nothing %d\n", 1); // no file: nothing happens
    const std::string file = path("trace.txt");
    kyUndoReportInit(file.c_str());
    kyUndoReport("one %d\n", 1);
    kyUndoReportInit(""); // an empty path only closes
    kyUndoReport("lost\n");
    kyUndoReportInit(dir().string().c_str()); // unopenable: tracing stays off
    kyUndoReport("lost too\n");
    kyUndoReportInit(file.c_str()); // reopened for appending
    kyUndoReport("%s and %d\n", std::string(3000, 'x').c_str(), 2);
    kyUndoReportInit(nullptr);
    kyUndoReport("not written\n");
    const std::string separator = "------------------------------";
    EXPECT_EQ(readLines(file), (std::vector<std::string>{"", separator, "", "one 1", "", separator,
                                                         "", std::string(1023, 'x')}));
}

TEST_F(TraceTest, WholeScenario) {
    const std::string file = path("undo-trace.txt");
    kyUndoReportInit(file.c_str());

    std::map<char, std::string> pointers;
    Record ra, rb, rc, rd, re, rf, rg, rh;
    int object = 0;
    pointers['P'] = pointerText(&object);

    kyUndo::Manager* m = kyUndo::newManager();

    kyUndo::Group* first = m->newGroup("first", false);
    pointers['A'] = pointerText(new TestCommand(&ra, "alpha", first));
    pointers['B'] = pointerText(new TestCommand(&rb, nullptr, first));
    rb.bytes = 100;
    EXPECT_TRUE(first->doIt());

    kyUndo::Group* second = m->newGroup(nullptr, true);
    pointers['C'] = pointerText(new TestCommand(&rc, "gamma", second));
    rc.failDo = true;
    EXPECT_FALSE(second->doIt());
    EXPECT_FALSE(second->doIt());

    kyUndo::Group* third = m->newGroup("third", false);
    third->declarePointer(&object);
    pointers['D'] = pointerText(new TestCommand(&rd, "delta", third));
    m->pointerDestroyed(&object);
    EXPECT_FALSE(m->undoIt());

    m->newGroup("empty", false);
    kyUndo::Group* last = m->newGroup("last", false);
    pointers['E'] = pointerText(new TestCommand(&re, "epsilon", last));
    EXPECT_TRUE(m->undoIt());
    EXPECT_TRUE(m->undoIt());
    EXPECT_TRUE(m->doIt());
    EXPECT_TRUE(m->doIt());
    m->associateGroups(1, 10);

    kyUndo::Group* failing = m->newGroup("undo-fails", false);
    pointers['F'] = pointerText(new TestCommand(&rf, nullptr, failing));
    pointers['G'] = pointerText(new TestCommand(&rg, "zeta", failing));
    rf.failUndo = true;
    EXPECT_FALSE(m->undoIt());

    kyUndo::Group* p1 = m->newGroup("p1", false);
    pointers['H'] = pointerText(new TestCommand(&rh, "eta", p1));
    EXPECT_TRUE(m->undoIt());
    m->deleteLastGroup(); // not at the end: nothing
    m->setMaxGroups(1);   // not at the end: stored only
    m->newGroup("p3", false);
    m->newGroup("p4", false);
    m->deleteLastGroup();
    delete m;
    kyUndoReportInit(nullptr);

    const char* const expected[] = {
        "",
        "------------------------------",
        "",
        // first group, two commands, done by the application
        "--------------------------------------------------------",
        "kyUndo::newGroup (first, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (first)",
        "    kyUndo::Command: new (alpha, 0x{A})",
        "    kyUndo::Command: new (noname, 0x{B})",
        "  + kyUndo::Group: doIt() - (first) 2 commands 1124 bytes.",
        "    + kyUndo::Command: doIt (alpha, 0x{A}), 1024 bytes",
        "    + kyUndo::Command: doIt ((null), 0x{B}), 100 bytes",
        // an unnamed dynamic group whose command fails
        "--------------------------------------------------------",
        "kyUndo::newGroup (noname, dynamic = 1)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (noname)",
        "    kyUndo::Command: new (gamma, 0x{C})",
        "  + kyUndo::Group: doIt() - (noname) 1 commands 1024 bytes.",
        "    + kyUndo::Command: doIt (gamma, 0x{C}), 1024 bytes",
        "    - kyUndo::Command: 'do' of gamma returned failure.  Marking invalid.",
        "  ! kyUndo::Group: 'do' of command 0 (gamma) returnedfailure status",
        "  ! kyUndo::Group: marking group (noname) invalid.",
        "  + kyUndo::Group: doIt() - (noname) 1 commands 1024 bytes.",
        "  ! kyUndo::Group: doIt() - (noname) invalid group.",
        // the next group prunes the trailing invalid one
        "--------------------------------------------------------",
        "kyUndo::newGroup (third, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: delete group (noname) - 1024 bytes",
        "    kyUndo::Command: delete (gamma, 0x{C})",
        "  kyUndo::Group: new group (third)",
        "    kyUndo::Command: new (delta, 0x{D})",
        // a declared object goes away; undoing the invalid group discards the history
        "!   kyUndo::Group: pointer 0x{P} declared by group has been destroyed",
        "!   kyUndo::Group: marking group (third) invalid.",
        "- kyUndo::Manager: undoIt() - 2 groups, 2148 bytes used",
        "  - kyUndo::Group: undoIt() - (third) 1 commands 1024 bytes.",
        "  ! kyUndo::Group: undoIt() - (third) invalid group.",
        "kyUndo::Manager: currentGroupIsInvalid()",
        "kyUndo::Manager: clearAllGroups()",
        "  kyUndo::Group: delete group (first) - 1124 bytes",
        "    kyUndo::Command: delete (alpha, 0x{A})",
        "    kyUndo::Command: delete (noname, 0x{B})",
        "  kyUndo::Group: delete group (third) - 1024 bytes",
        "    kyUndo::Command: delete (delta, 0x{D})",
        // an empty step is stepped over in both directions; the ends of the queue
        "--------------------------------------------------------",
        "kyUndo::newGroup (empty, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (empty)",
        "--------------------------------------------------------",
        "kyUndo::newGroup (last, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (last)",
        "    kyUndo::Command: new (epsilon, 0x{E})",
        "- kyUndo::Manager: undoIt() - 2 groups, 1024 bytes used",
        "  - kyUndo::Group: undoIt() - (last) 1 commands 1024 bytes.",
        "    - kyUndo::Command: undoIt (epsilon, 0x{E}), 1024 bytes",
        "- kyUndo::Manager: undoIt() - 2 groups, 1024 bytes used",
        "  - kyUndo::Group: undoIt() - (empty) 0 commands 0 bytes.",
        "- kyUndo::Manager: undoIt() - empty group, undoing again.",
        "- kyUndo::Manager: undoIt() - 2 groups, 1024 bytes used",
        "- kyUndo::Manager: undoIt() - at beginning of queue.",
        "+ kyUndo::Manager: doIt() - 2 groups, 1024 bytes used",
        "  + kyUndo::Group: doIt() - (empty) 0 commands 0 bytes.",
        "+ kyUndo::Manager: doIt() - empty group, doing again.",
        "+ kyUndo::Manager: doIt() - 2 groups, 1024 bytes used",
        "  + kyUndo::Group: doIt() - (last) 1 commands 1024 bytes.",
        "    + kyUndo::Command: doIt (epsilon, 0x{E}), 1024 bytes",
        "+ kyUndo::Manager: doIt() - 2 groups, 1024 bytes used",
        "+ kyUndo::Manager: doIt() - at end of queue.",
        "kyUndo::Manager: associateGroups (1, 10)",
        // a failing undo discards the history
        "--------------------------------------------------------",
        "kyUndo::newGroup (undo-fails, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (undo-fails)",
        "    kyUndo::Command: new (noname, 0x{F})",
        "    kyUndo::Command: new (zeta, 0x{G})",
        "- kyUndo::Manager: undoIt() - 3 groups, 3072 bytes used",
        "  - kyUndo::Group: undoIt() - (undo-fails) 2 commands 2048 bytes.",
        "    - kyUndo::Command: undoIt (zeta, 0x{G}), 1024 bytes",
        "    - kyUndo::Command: undoIt ((null), 0x{F}), 1024 bytes",
        "    - kyUndo::Command: undo of noname returned failure.  Marking invalid.",
        "  ! kyUndo::Group: 'undo' of command 0 (noname) returnedfailure status",
        "  ! kyUndo::Group: marking group (undo-fails) invalid.",
        "kyUndo::Manager: currentGroupIsInvalid()",
        "kyUndo::Manager: clearAllGroups()",
        "  kyUndo::Group: delete group (empty) - 0 bytes",
        "  kyUndo::Group: delete group (last) - 1024 bytes",
        "    kyUndo::Command: delete (epsilon, 0x{E})",
        "  kyUndo::Group: delete group (undo-fails) - 2048 bytes",
        "    kyUndo::Command: delete (noname, 0x{F})",
        "    kyUndo::Command: delete (zeta, 0x{G})",
        // undone groups are discarded when a group opens; the count limit applies
        "--------------------------------------------------------",
        "kyUndo::newGroup (p1, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (p1)",
        "    kyUndo::Command: new (eta, 0x{H})",
        "- kyUndo::Manager: undoIt() - 1 groups, 1024 bytes used",
        "  - kyUndo::Group: undoIt() - (p1) 1 commands 1024 bytes.",
        "    - kyUndo::Command: undoIt (eta, 0x{H}), 1024 bytes",
        "--------------------------------------------------------",
        "kyUndo::newGroup (p3, dynamic = 0)",
        "kyUndo::Manager: pruneUndoneGroups()",
        "  kyUndo::Group: delete group (p1) - 1024 bytes",
        "    kyUndo::Command: delete (eta, 0x{H})",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: new group (p3)",
        "--------------------------------------------------------",
        "kyUndo::newGroup (p4, dynamic = 0)",
        "kyUndo::Manager: pruneTrailingInvalidGroups()",
        "  kyUndo::Group: delete group (p3) - 0 bytes",
        "  kyUndo::Group: new group (p4)",
        "kyUndo::Manager: deleteLastGroup()",
        "  kyUndo::Group: delete group (p4) - 0 bytes",
        // the manager's destructor
        "kyUndo::Manager: clearAllGroups()",
    };

    const std::vector<std::string> actual = readLines(file);
    const std::size_t n = sizeof expected / sizeof expected[0];
    for (std::size_t i = 0; i < n && i < actual.size(); ++i) {
        ASSERT_EQ(actual[i], expand(expected[i], pointers)) << "line " << i + 1;
    }
    EXPECT_EQ(actual.size(), n);
}

} // namespace
