// ServiceTest.cpp - the service registry, lazy proxies, library lifetime and the directory scan.
#include "PluginFixture.h"

namespace {

using ServiceTest = kytest::PluginFixture;
using kyPlugin::ServiceManager;
using kytest::isLibraryMapped;

// A service built into the application, of any type.
class BuiltIn : public kyPlugin::Service {
public:
    BuiltIn(const char* type, const char* name, bool allowOverride)
        : Service(name, allowOverride), type_(type) {}
    const char* getType() const override { return type_; }

private:
    const char* type_;
};

TEST_F(ServiceTest, SecondRegistrationOfANameReplacesOnlyAnOverridableService) {
    ServiceManager* m = ServiceManager::getInstance();
    for (const bool allows : {false, true}) {
        const char* type = allows ? "Overridable" : "Refusing";
        clearOutput();
        ky::Reference<kyPlugin::Service> first(new BuiltIn(type, "tool", allows));
        ky::Reference<kyPlugin::Service> other(new BuiltIn(type, "Tool", false));
        ky::Reference<kyPlugin::Service> second(new BuiltIn(type, "tool", false));
        EXPECT_TRUE(first->registerService());
        EXPECT_TRUE(other->registerService()); // names compare case-sensitively
        EXPECT_EQ(second->registerService(), allows);
        EXPECT_EQ(output(1), allows ? ""
                                    : "Registration of a service failed.  The name is "
                                      "already used: tool\n");
        // A replacement is appended after the others; a refused one changes nothing.
        EXPECT_EQ(m->getService(m->getServiceIndex(type), allows ? 1 : 0),
                  allows ? second.get() : first.get());
        EXPECT_EQ(m->getService(type, "tool"), allows ? second.get() : first.get());
        first.release(); // a replaced service's going leaves its successor alone
        EXPECT_EQ(m->getNumServices(type), allows ? 2 : 1);
        m->removeService(other.get()); // out of the registry, still alive
        EXPECT_EQ(other->count(), 1);
        second.release();
        EXPECT_EQ(m->getNumServices(type), 0); // the type stays, empty
    }
    EXPECT_STREQ(m->getServiceType(m->getServiceIndex("Refusing")), "Refusing");
    EXPECT_EQ(m->getServiceType(m->numServiceTypes()), nullptr);
    EXPECT_EQ(m->getNumServices("NoSuchType"), -1);
    EXPECT_EQ(m->getService("NoSuchType", "tool"), nullptr);
    EXPECT_EQ(m->getService(-1, 0), nullptr);
    EXPECT_FALSE(m->addService(nullptr));
}

TEST_F(ServiceTest, MainPluginLoadsOnFirstUseAndLibrariesGoWithTheLastService) {
    const std::string proxyFile = copyPlugin("serviceDecl_paint");
    const std::string mainFile = copyPlugin("paint_main");
    scan({path("absent"), dir().string()});
    EXPECT_EQ(output(2), "init serviceDecl_paint\n");
    kytest::BrushService* round = brush("round");
    kytest::BrushService* flat = brush("flat");
    ASSERT_TRUE(round && flat && round->isPlugin());
    kyPlugin::PluginProxy* proxy = round->proxy();
    EXPECT_STREQ(proxy->getProxyFor(), "paint_main" KY_TEST_PLUGIN_SUFFIX);
    EXPECT_TRUE(proxy->installServices()); // once: no second pair of brushes
    EXPECT_EQ(proxy->getNumServices(), 2);
    EXPECT_EQ(proxy->findService(flat), 1);
    EXPECT_TRUE(isLibraryMapped(proxyFile));
    EXPECT_FALSE(isLibraryMapped(mainFile));

    EXPECT_EQ(round->stroke(), 1); // loads paint_main
    EXPECT_EQ(flat->stroke(), 2);  // the same main plug-in: its counter goes on
    EXPECT_EQ(output(2), "init serviceDecl_paint\ninit paint_main\n");
    destroy(round);
    EXPECT_EQ(proxy->getNumServices(), 1);
    EXPECT_EQ(proxy->findService(round), -1);
    EXPECT_EQ(ServiceManager::getInstance()->getNumServices("Brush"), 1);
    EXPECT_TRUE(isLibraryMapped(proxyFile) && isLibraryMapped(mainFile));
    clearOutput();
    destroy(flat);
    EXPECT_EQ(output(2), "uninit paint_main\nuninit serviceDecl_paint\n");
    EXPECT_FALSE(isLibraryMapped(mainFile) || isLibraryMapped(proxyFile));
}

TEST_F(ServiceTest, MissingMainPluginFailsOnceAndIsNotRetried) {
    kyPlugin::PluginLoader loader;
    ky::Reference<kyPlugin::PluginProxy> proxy =
        loader.loadProxy(copyPlugin("serviceDecl_paint").c_str());
    ASSERT_TRUE(proxy && proxy->installServices());
    EXPECT_FALSE(proxy->loadMainPlugin());
    EXPECT_EQ(proxy->getError(),
              "The proxy plugin does not exist: " + path("paint_main" KY_TEST_PLUGIN_SUFFIX));
    const std::string mainFile = copyPlugin("paint_main"); // too late: not tried again
    EXPECT_EQ(brush("round")->stroke(), -1);
    EXPECT_FALSE(proxy->getMainPlugin() || isLibraryMapped(mainFile));
}

// Which names the scan takes for proxies: a base name of at least 12 characters starting
// "serviceDecl_", any suffix but "pdb". Entries that are directories are passed over.
const std::pair<const char*, bool> kNames[] = {
    {"serviceDecl_empty" KY_TEST_PLUGIN_SUFFIX, true},
    {"serviceDecl_" KY_TEST_PLUGIN_SUFFIX, true},
    {"serviceDecl_x.other", true},
    {"serviceDecl_x", true},
    {"serviceDecl.dll", false},
    {"serviceDecl.so", false},
    {"serviceDecl_x.pdb", false},
    {"servicedecl_x" KY_TEST_PLUGIN_SUFFIX, false},
    {"x_serviceDecl_x.so", false},
    {"sub/serviceDecl_low" KY_TEST_PLUGIN_SUFFIX, false},
};

TEST_F(ServiceTest, ScanTakesProxiesByBaseNameOncePerProcessAndUnloadsEmptyOnes) {
    std::filesystem::create_directory(path("sub"));
    std::filesystem::create_directory(path("serviceDecl_dir" KY_TEST_PLUGIN_SUFFIX));
    std::string expected;
    for (const auto& [leaf, scanned] : kNames) {
        copyPlugin("serviceDecl_empty", leaf);
        expected += scanned ? "init serviceDecl_empty\nNo services in: " + path(leaf) +
                                  "\nuninit serviceDecl_empty\n"
                            : "";
    }
    scan({dir().string()});
    std::string out = output(2);
    for (const auto& [leaf, scanned] : kNames) {
        SCOPED_TRACE(leaf);
        EXPECT_EQ(out.find("No services in: " + path(leaf) + "\n") != std::string::npos, scanned);
        EXPECT_FALSE(isLibraryMapped(path(leaf))); // unloaded at once
    }
    EXPECT_EQ(out.size(), expected.size()); // in the directory's order, whatever it is
    EXPECT_EQ(output(1), "");
    clearOutput();
    ServiceManager::getInstance()->registerServices("sub"); // once per process: nothing
    EXPECT_EQ(output(2), "");
    scan({dir().string()}, "sub"); // re-armed by the test hook: only the subdirectory
    EXPECT_EQ(output(2), "init serviceDecl_empty\nNo services in: " +
                             (dir() / "sub" / "serviceDecl_low" KY_TEST_PLUGIN_SUFFIX).string() +
                             "\nuninit serviceDecl_empty\n");
}

TEST_F(ServiceTest, HostileFilesAreReportedOneByOneWithoutACrash) {
    kytest::Random random(23);
    std::string noise(4096, '\0');
    for (char& c : noise) {
        c = static_cast<char>(random.range(0, 255));
    }
    std::vector<std::string> failing = {writeFile("serviceDecl_0" KY_TEST_PLUGIN_SUFFIX, ""),
                                        writeFile("serviceDecl_noise" KY_TEST_PLUGIN_SUFFIX, noise),
                                        writeFile("serviceDecl_text.dll", "MZ, nothing more\n")};
    std::filesystem::create_directory(path("serviceDecl_folder" KY_TEST_PLUGIN_SUFFIX));
    const std::string loop = path("serviceDecl_loop" KY_TEST_PLUGIN_SUFFIX);
    std::error_code ec;
    std::filesystem::create_symlink(loop, loop, ec); // not everywhere allowed
    if (!ec) {
        failing.push_back(loop); // no status for it: fails without a system text
    }
    scan({dir().string()});
    std::string expected;
    for (const std::string& file : failing) {
        SCOPED_TRACE(file);
        const std::string system = file == loop ? "" : kytest::systemLoadError(file);
        EXPECT_EQ(system.empty(), file == loop);
        const std::string message = "Proxy failed to load: " + file + "\n" + system + "\n";
        EXPECT_NE(output(1).find(message), std::string::npos);
        expected += message;
    }
    EXPECT_EQ(output(1).size(), expected.size()); // nothing else, in the directory's order
    EXPECT_EQ(output(2), "");
}

} // namespace
