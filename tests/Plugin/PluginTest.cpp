// PluginTest.cpp - loading real plug-in libraries: entry points, failures, retry, error texts.
#include "PluginFixture.h"

namespace {

using kytest::PluginFixture;
using PluginTest = PluginFixture;

// What loading each kind of file gives. Missing files fail silently; anything that exists
// but is no library fails with the system's own message.
struct LoadCase {
    const char* leaf;
    const char* plugin;   // built plug-in copied to `leaf`, or null for `bytes`
    const char* bytes;    // content written to `leaf` when `plugin` is null; null: no file
    int value;            // plainValue() when loaded, 0 when the load fails
    const char* onLoad;   // channel-2 text of initializePlugin
    const char* onUnload; // channel-2 text of uninitializePlugin
};

const LoadCase kLoadCases[] = {
    {"plain_init" KY_TEST_PLUGIN_SUFFIX, "plain_init", nullptr, 7, "init plain_init\n",
     "uninit plain_init\n"},
    {"plain_bare" KY_TEST_PLUGIN_SUFFIX, "plain_bare", nullptr, 8, "", ""},
    {"missing" KY_TEST_PLUGIN_SUFFIX, nullptr, nullptr, 0, "", ""},
    {"text" KY_TEST_PLUGIN_SUFFIX, nullptr, "this is not a library\n", 0, "", ""},
    {"empty" KY_TEST_PLUGIN_SUFFIX, nullptr, "", 0, "", ""},
};

TEST_F(PluginTest, LoadsRunsEntryPointsAndUnloadsOnLastRelease) {
    for (const LoadCase& c : kLoadCases) {
        SCOPED_TRACE(c.leaf);
        clearOutput();
        const std::string file = c.plugin ? copyPlugin(c.plugin, c.leaf) : path(c.leaf);
        if (!c.plugin && c.bytes) {
            writeFile(c.leaf, c.bytes);
        }
        kyPlugin::PluginLoader loader;
        ky::Reference<kyPlugin::Plugin> plugin = loader.load(file.c_str());
        if (c.value == 0) {
            EXPECT_FALSE(plugin);
            const std::string expected = c.bytes ? kytest::systemLoadError(file) : "";
            EXPECT_EQ(loader.getError(), expected);
            EXPECT_EQ(!expected.empty(), c.bytes != nullptr);
            continue;
        }
        ASSERT_TRUE(plugin) << loader.getError();
        EXPECT_STREQ(loader.getError(), "");
        EXPECT_TRUE(plugin->isLoaded());
        EXPECT_STREQ(plugin->getFilename(), file.c_str());
        EXPECT_STREQ(plugin->getName(), c.leaf);
        EXPECT_EQ(output(2), c.onLoad);
        // A plug-in without "initializePlugin" loads but says what it missed.
        EXPECT_EQ(plugin->getError() != nullptr, *c.onLoad == '\0');
        EXPECT_TRUE(kytest::isLibraryMapped(file));
        auto value = reinterpret_cast<int (*)()>(plugin->getSymbol("plainValue"));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(plugin->getError(), nullptr);
        EXPECT_EQ(value(), c.value);
        EXPECT_EQ(plugin->getSymbol("noSuchSymbol"), nullptr);
        EXPECT_NE(plugin->getError(), nullptr);
        int destroyedSeen = 0;
        plugin->destroyed.connect([&](kyPlugin::Plugin* p) { destroyedSeen += p != nullptr; });
        plugin.release();
        EXPECT_EQ(destroyedSeen, 1);
        EXPECT_EQ(output(2), std::string(c.onLoad) + c.onUnload);
        EXPECT_FALSE(kytest::isLibraryMapped(file));
    }
}

TEST_F(PluginTest, FinallyUnloadFalseKeepsTheLibrary) {
    const std::string file = copyPlugin("plain_init");
    kyPlugin::PluginLoader loader;
    ky::Reference<kyPlugin::Plugin> plugin = loader.load(file.c_str());
    ASSERT_TRUE(plugin);
    plugin->finallyUnload(false);
    plugin.release();
    EXPECT_EQ(output(2), "init plain_init\n"); // never uninitialised
    EXPECT_TRUE(kytest::isLibraryMapped(file));
}

// A fake system: the first `failures` opens fail with `systemText`, symbol look-ups may fail.
struct Fake {
    static int failures, opens, sleptMs, silenced, restoredWith;
    static bool symbolsFail;
    static std::string systemText;
    static void* open(const char* name) {
        ++opens;
        return opens <= failures ? nullptr : kyPlugin::detail::nativeLibraryCalls().open(name);
    }
    static void* symbol(void* h, const char* name) {
        return symbolsFail ? nullptr : kyPlugin::detail::nativeLibraryCalls().symbol(h, name);
    }
    static std::string lastError() { return systemText; }
    static unsigned silence() { return static_cast<unsigned>(++silenced * 100); }
    static void restore(unsigned mode) { restoredWith = static_cast<int>(mode); }
    static void sleep(unsigned ms) { sleptMs += static_cast<int>(ms); }
};
int Fake::failures, Fake::opens, Fake::sleptMs, Fake::silenced, Fake::restoredWith;
bool Fake::symbolsFail;
std::string Fake::systemText;

struct RetryCase {
    int failures;
    bool symbolsFail;
    const char* systemText;
    int opens, sleptMs;
    bool loaded;
    const char* error; // "@" stands for the UTF-8 file name
};

const RetryCase kRetryCases[] = {
    {0, false, "", 1, 0, true, nullptr},
    {1, false, "", 2, 10, true, nullptr}, // retried once after 10 ms
    {2, false, "busy", 2, 10, false, "busy"},
    {2, false, "", 2, 10, false, "Plugin: could not load plugin: @\n"},
    {0, true, "", 1, 0, true, "Plugin: could not find symbol: initializePlugin\n"},
    {0, true, "no such entry", 1, 0, true, "no such entry"},
};

TEST_F(PluginTest, RetriesOnceSilentlyAndFallsBackToItsOwnTexts) {
    const std::string file = copyPlugin("plain_init", "retry" KY_TEST_PLUGIN_SUFFIX);
    for (const RetryCase& c : kRetryCases) {
        SCOPED_TRACE(c.failures * 10 + c.symbolsFail);
        Fake::failures = c.failures;
        Fake::symbolsFail = c.symbolsFail;
        Fake::systemText = c.systemText;
        Fake::opens = Fake::sleptMs = Fake::silenced = Fake::restoredWith = 0;
        kyPlugin::detail::LibraryCalls& calls = kyPlugin::detail::libraryCalls();
        calls.open = Fake::open;
        calls.symbol = Fake::symbol;
        calls.lastError = Fake::lastError;
        calls.silenceErrors = Fake::silence;
        calls.restoreErrors = Fake::restore;
        calls.sleepMilliseconds = Fake::sleep;

        kyPlugin::PluginLoader loader;
        ky::Reference<kyPlugin::Plugin> plugin = loader.load(file.c_str());
        EXPECT_EQ(Fake::opens, c.opens);
        EXPECT_EQ(Fake::sleptMs, c.sleptMs);
        EXPECT_EQ(Fake::silenced, 1);
        EXPECT_EQ(Fake::restoredWith, 100); // the mode that silencing returned
        std::string error = c.error ? c.error : "";
        if (error.find('@') != std::string::npos) {
            error.replace(error.find('@'), 1, file);
        }
        EXPECT_EQ(static_cast<bool>(plugin), c.loaded);
        EXPECT_EQ(plugin ? std::string(plugin->getError() ? plugin->getError() : "")
                         : std::string(loader.getError()),
                  error);
        if (plugin && c.symbolsFail) {
            EXPECT_EQ(plugin->getSymbol("plainValue"), nullptr);
            EXPECT_STREQ(plugin->getError(), Fake::systemText.empty()
                                                 ? "Plugin: could not find symbol: plainValue\n"
                                                 : c.systemText);
        }
        plugin.release();
        EXPECT_FALSE(kytest::isLibraryMapped(file));
    }
}

} // namespace
