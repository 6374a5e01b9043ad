// PluginTest.cpp - loading real plug-in libraries: entry points, failures, retry, error texts.
#include "PluginFixture.h"

namespace {

using PluginTest = kytest::PluginFixture;

// What loading each kind of file gives. Missing files fail silently; anything that exists
// but is no library fails with the system's own message.
struct LoadCase {
    const char* leaf;
    const char* plugin; // built plug-in copied to `leaf`, or null: `bytes` written there
    const char* bytes;  // null: no file at all
    bool keep;          // finallyUnload(false)
    int value;          // plainValue() when loaded, 0 when the load fails
    const char* output; // channel 2 over load and release
};

const LoadCase kLoadCases[] = {
    {"plain_init" KY_TEST_PLUGIN_SUFFIX, "plain_init", nullptr, false, 7,
     "init plain_init\nuninit plain_init\n"},
    {"kept" KY_TEST_PLUGIN_SUFFIX, "plain_init", nullptr, true, 7, "init plain_init\n"},
    {"plain_bare" KY_TEST_PLUGIN_SUFFIX, "plain_bare", nullptr, false, 8, ""},
    {"missing" KY_TEST_PLUGIN_SUFFIX, nullptr, nullptr, false, 0, ""},
    {"text" KY_TEST_PLUGIN_SUFFIX, nullptr, "this is not a library\n", false, 0, ""},
    {"empty" KY_TEST_PLUGIN_SUFFIX, nullptr, "", false, 0, ""},
};

TEST_F(PluginTest, LoadsRunsEntryPointsAndUnloadsOnLastRelease) {
    for (const LoadCase& c : kLoadCases) {
        SCOPED_TRACE(c.leaf);
        clearOutput();
        const std::string file = c.plugin  ? copyPlugin(c.plugin, c.leaf)
                                 : c.bytes ? writeFile(c.leaf, c.bytes)
                                           : path(c.leaf);
        kyPlugin::PluginLoader loader;
        ky::Reference<kyPlugin::Plugin> plugin = loader.load(file.c_str());
        ASSERT_EQ(static_cast<bool>(plugin), c.value != 0);
        if (!plugin) {
            const std::string expected = c.bytes ? kytest::systemLoadError(file) : "";
            EXPECT_EQ(expected.empty(), c.bytes == nullptr);
            EXPECT_EQ(loader.getError(), expected);
            continue;
        }
        EXPECT_STREQ(loader.getError(), "");
        EXPECT_STREQ(plugin->getFilename(), file.c_str());
        EXPECT_STREQ(plugin->getName(), c.leaf);
        // A plug-in without "initializePlugin" loads but says what it missed.
        EXPECT_EQ(plugin->getError() != nullptr, *c.output == '\0');
        EXPECT_TRUE(kytest::isLibraryMapped(file));
        auto value = reinterpret_cast<int (*)()>(plugin->getSymbol("plainValue"));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value(), c.value);
        EXPECT_EQ(plugin->getError(), nullptr);
        EXPECT_EQ(plugin->getSymbol("noSuchSymbol"), nullptr);
        EXPECT_NE(plugin->getError(), nullptr);
        int destroyedSeen = 0;
        plugin->destroyed.connect([&](kyPlugin::Plugin* p) { destroyedSeen += p != nullptr; });
        plugin->finallyUnload(!c.keep);
        plugin.release();
        EXPECT_EQ(destroyedSeen, 1);
        EXPECT_EQ(output(2), c.output);
        EXPECT_EQ(kytest::isLibraryMapped(file), c.keep);
    }
}

// A fake system: the first `failures` opens fail with `text`, symbol look-ups may fail.
struct Fake {
    static inline int failures, opens, sleptMs, restoredWith;
    static inline bool noSymbols;
    static inline std::string text;
    static void* open(const char* name) {
        return ++opens <= failures ? nullptr : kyPlugin::detail::nativeLibraryCalls().open(name);
    }
    static void* symbol(void* h, const char* name) {
        return noSymbols ? nullptr : kyPlugin::detail::nativeLibraryCalls().symbol(h, name);
    }
};

struct RetryCase {
    int failures;
    bool noSymbols;
    const char* text; // the system's message
    int opens, sleptMs;
    const char* error; // "@" stands for the file name; null: loads without error
};

const RetryCase kRetryCases[] = {
    {0, false, "", 1, 0, nullptr},
    {1, false, "", 2, 10, nullptr}, // retried once after 10 ms
    {2, false, "busy", 2, 10, "busy"},
    {2, false, "", 2, 10, "Plugin: could not load plugin: @\n"},
    {0, true, "", 1, 0, "Plugin: could not find symbol: initializePlugin\n"},
    {0, true, "no entry", 1, 0, "no entry"},
};

TEST_F(PluginTest, RetriesOnceSilentlyAndFallsBackToItsOwnTexts) {
    const std::string file = copyPlugin("plain_init");
    kyPlugin::detail::LibraryCalls& calls = kyPlugin::detail::libraryCalls();
    calls.open = Fake::open;
    calls.symbol = Fake::symbol;
    calls.lastError = [] { return Fake::text; };
    calls.silenceErrors = [] { return 100u; };
    calls.restoreErrors = [](unsigned mode) { Fake::restoredWith = static_cast<int>(mode); };
    calls.sleepMilliseconds = [](unsigned ms) { Fake::sleptMs += static_cast<int>(ms); };
    for (const RetryCase& c : kRetryCases) {
        SCOPED_TRACE(c.failures * 10 + c.noSymbols);
        Fake::failures = c.failures;
        Fake::noSymbols = c.noSymbols;
        Fake::text = c.text;
        Fake::opens = Fake::sleptMs = Fake::restoredWith = 0;
        kyPlugin::PluginLoader loader;
        ky::Reference<kyPlugin::Plugin> plugin = loader.load(file.c_str());
        EXPECT_EQ(Fake::opens, c.opens);
        EXPECT_EQ(Fake::sleptMs, c.sleptMs);
        EXPECT_EQ(Fake::restoredWith, 100); // the mode that silencing returned
        std::string error = c.error ? c.error : "";
        if (error.find('@') != std::string::npos) {
            error.replace(error.find('@'), 1, file);
        }
        EXPECT_EQ(static_cast<bool>(plugin), c.failures < 2);
        EXPECT_EQ(plugin ? std::string(plugin->getError() ? plugin->getError() : "")
                         : std::string(loader.getError()),
                  error);
        if (plugin && c.noSymbols) {
            EXPECT_EQ(plugin->getSymbol("plainValue"), nullptr);
            EXPECT_EQ(std::string(plugin->getError()),
                      *c.text ? c.text : "Plugin: could not find symbol: plainValue\n");
        }
        plugin.release();
        EXPECT_FALSE(kytest::isLibraryMapped(file));
    }
}

} // namespace
