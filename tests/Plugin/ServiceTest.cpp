// ServiceTest.cpp - the service registry, lazy proxies, library lifetime and the directory scan.
#include "PluginFixture.h"

#include <cstring>

namespace {

using kytest::PluginFixture;
using ServiceTest = PluginFixture;
using kyPlugin::ServiceManager;

// A service built into the application, of any type.
class BuiltIn : public kyPlugin::Service {
public:
    BuiltIn(const char* type, const char* name, bool allowOverride)
        : Service(name, allowOverride), type_(type) {}
    const char* getType() const override { return type_; }

private:
    const char* type_;
};

struct OverrideCase {
    const char* type;
    bool firstAllows;
    bool secondAccepted;
    const char* channel1;
};

const OverrideCase kOverrideCases[] = {
    {"Refusing", false, false,
     "Registration of a service failed.  The name is already used: tool\n"},
    {"Overridable", true, true, ""},
};

TEST_F(ServiceTest, SecondRegistrationOfANameReplacesOnlyAnOverridableService) {
    ServiceManager* m = ServiceManager::getInstance();
    for (const OverrideCase& c : kOverrideCases) {
        SCOPED_TRACE(c.type);
        clearOutput();
        ky::Reference<kyPlugin::Service> first(new BuiltIn(c.type, "tool", c.firstAllows));
        ky::Reference<kyPlugin::Service> other(new BuiltIn(c.type, "Tool", false));
        ky::Reference<kyPlugin::Service> second(new BuiltIn(c.type, "tool", false));
        EXPECT_TRUE(first->registerService());
        EXPECT_TRUE(other->registerService()); // names compare case-sensitively
        EXPECT_EQ(second->registerService(), c.secondAccepted);
        EXPECT_EQ(output(1), c.channel1);
        kyPlugin::Service* holder = c.secondAccepted ? second.get() : first.get();
        EXPECT_EQ(m->getService(c.type, "tool"), holder);
        EXPECT_EQ(m->getNumServices(c.type), 2);
        // A replacement is appended after the others; a refused one changes nothing.
        EXPECT_EQ(m->getService(m->getServiceIndex(c.type), c.secondAccepted ? 1 : 0), holder);
        EXPECT_FALSE(holder->isPlugin());
        first.release(); // a replaced service's going leaves its successor alone
        EXPECT_EQ(m->getNumServices(c.type), c.secondAccepted ? 2 : 1);
        second.release();
        other.release();
        EXPECT_EQ(m->getNumServices(c.type), 0); // the type stays, empty
    }
}

TEST_F(ServiceTest, LookUpsOfUnknownTypesAndNamesAnswerNothing) {
    ServiceManager* m = ServiceManager::getInstance();
    ky::Reference<kyPlugin::Service> s(new BuiltIn("LookUp", "a", false));
    ASSERT_TRUE(m->addService(s.get()));
    const int index = m->getServiceIndex("LookUp");
    ASSERT_GE(index, 0);
    EXPECT_STREQ(m->getServiceType(index), "LookUp");
    EXPECT_EQ(m->getServiceType(m->numServiceTypes()), nullptr);
    EXPECT_EQ(m->getServiceIndex("lookup"), -1);
    EXPECT_EQ(m->getNumServices("NoSuchType"), -1);
    EXPECT_EQ(m->getNumServices(-1), -1);
    EXPECT_EQ(m->getService("NoSuchType", "a"), nullptr);
    EXPECT_EQ(m->getService("LookUp", "b"), nullptr);
    EXPECT_EQ(m->getService(index, 1), nullptr);
    EXPECT_EQ(m->getService(index, "a"), s.get());
    EXPECT_FALSE(m->addService(nullptr));
    m->removeService(s.get()); // out of the registry, still alive
    EXPECT_EQ(m->getNumServices(index), 0);
    EXPECT_EQ(s->count(), 1);
}

TEST_F(ServiceTest, ProxyLoadsItsMainPluginOnFirstUseAndBothGoWithTheLastService) {
    const std::string proxyFile = copyPlugin("serviceDecl_paint");
    const std::string mainFile = copyPlugin("paint_main");
    kyPlugin::PluginLoader loader;
    ky::Reference<kyPlugin::PluginProxy> proxy = loader.loadProxy(proxyFile.c_str());
    ASSERT_TRUE(proxy) << loader.getError();
    EXPECT_STREQ(proxy->getProxyFor(), "paint_main" KY_TEST_PLUGIN_SUFFIX);
    EXPECT_TRUE(proxy->installServices());
    EXPECT_TRUE(proxy->installServices()); // once: no second pair of brushes
    ASSERT_EQ(proxy->getNumServices(), 2);
    kyPlugin::PluginProxy* raw = proxy.get();
    proxy.release(); // the services hold the proxy now

    kytest::BrushService* round = brush("round");
    kytest::BrushService* flat = brush("flat");
    ASSERT_TRUE(round && flat);
    EXPECT_TRUE(round->isPlugin());
    EXPECT_EQ(raw->findService(flat), 1);
    EXPECT_TRUE(kytest::isLibraryMapped(proxyFile));
    EXPECT_FALSE(kytest::isLibraryMapped(mainFile));
    EXPECT_EQ(output(2), "init serviceDecl_paint\n");

    EXPECT_EQ(round->stroke(), 1); // loads paint_main
    EXPECT_TRUE(kytest::isLibraryMapped(mainFile));
    EXPECT_EQ(flat->stroke(), 2); // the same main plug-in, its counter goes on
    EXPECT_EQ(output(2), "init serviceDecl_paint\ninit paint_main\n");

    destroy(round);
    EXPECT_EQ(raw->getNumServices(), 1);
    EXPECT_EQ(raw->findService(round), -1);
    EXPECT_EQ(ServiceManager::getInstance()->getNumServices("Brush"), 1);
    EXPECT_TRUE(kytest::isLibraryMapped(proxyFile));
    EXPECT_TRUE(kytest::isLibraryMapped(mainFile));
    clearOutput();
    destroy(flat);
    EXPECT_EQ(output(2), "uninit paint_main\nuninit serviceDecl_paint\n");
    EXPECT_FALSE(kytest::isLibraryMapped(mainFile));
    EXPECT_FALSE(kytest::isLibraryMapped(proxyFile));
}

TEST_F(ServiceTest, MissingMainPluginFailsOnceAndIsNotRetried) {
    const std::string proxyFile = copyPlugin("serviceDecl_paint");
    kyPlugin::PluginLoader loader;
    ky::Reference<kyPlugin::PluginProxy> proxy = loader.loadProxy(proxyFile.c_str());
    ASSERT_TRUE(proxy);
    const std::string expected =
        "The proxy plugin does not exist: " + path("paint_main" KY_TEST_PLUGIN_SUFFIX);
    EXPECT_FALSE(proxy->loadMainPlugin());
    EXPECT_EQ(proxy->getError(), expected);
    const std::string mainFile = copyPlugin("paint_main"); // too late: not tried again
    EXPECT_FALSE(proxy->loadMainPlugin());
    EXPECT_FALSE(proxy->getMainPlugin());
    EXPECT_FALSE(kytest::isLibraryMapped(mainFile));
    ASSERT_TRUE(proxy->installServices());
    EXPECT_EQ(brush("round")->stroke(), -1);
}

// Which names in a plug-in directory the scan takes for proxies: a base name of at least
// 12 characters starting "serviceDecl_", any suffix but "pdb".
struct NameCase {
    const char* leaf;
    bool scanned;
};

const NameCase kNameCases[] = {
    {"serviceDecl_empty" KY_TEST_PLUGIN_SUFFIX, true},
    {"serviceDecl_" KY_TEST_PLUGIN_SUFFIX, true},
    {"serviceDecl_x.other", true},
    {"serviceDecl_x", true},
    {"serviceDecl.dll", false},
    {"serviceDecl.so", false},
    {"serviceDecl_x.pdb", false},
    {"servicedecl_x" KY_TEST_PLUGIN_SUFFIX, false},
    {"plain_serviceDecl_x" KY_TEST_PLUGIN_SUFFIX, false},
};

TEST_F(ServiceTest, ScanLoadsProxiesByBaseNameAndUnloadsThoseWithoutServices) {
    for (const NameCase& c : kNameCases) {
        copyPlugin("serviceDecl_empty", c.leaf);
    }
    std::filesystem::create_directory(path("serviceDecl_dir" KY_TEST_PLUGIN_SUFFIX));
    scan({path("absent"), dir().string()});
    std::string expected, init;
    for (const NameCase& c : kNameCases) {
        if (c.scanned) {
            expected += std::string("No services in: ") + path(c.leaf) + "\n";
        }
    }
    const std::string out = output(2);
    for (const NameCase& c : kNameCases) {
        SCOPED_TRACE(c.leaf);
        const std::string line = std::string("No services in: ") + path(c.leaf) + "\n";
        EXPECT_EQ(out.find(line) != std::string::npos, c.scanned);
        EXPECT_FALSE(kytest::isLibraryMapped(path(c.leaf))); // unloaded at once
    }
    std::size_t inits = 0;
    for (std::size_t at = out.find("init serviceDecl_empty\n"); at != std::string::npos;
         at = out.find("init serviceDecl_empty\n", at + 1)) {
        ++inits;
    }
    EXPECT_EQ(inits, 8u); // four loads, each "init" and "uninit"
    EXPECT_EQ(out.size(), expected.size() + 4 * (std::strlen("init serviceDecl_empty\n") +
                                                 std::strlen("uninit serviceDecl_empty\n")));
    EXPECT_EQ(output(1), "");
}

TEST_F(ServiceTest, ScanRunsOncePerProcessAndHonoursTheSubdirectory) {
    std::filesystem::create_directory(path("sub"));
    copyPlugin("serviceDecl_empty", "serviceDecl_top" KY_TEST_PLUGIN_SUFFIX);
    copyPlugin("serviceDecl_empty", "sub/serviceDecl_low" KY_TEST_PLUGIN_SUFFIX);
    scan({dir().string()}, "sub");
    EXPECT_TRUE(ServiceManager::getInstance()->servicesRegistered());
    const std::string once = output(2);
    EXPECT_NE(once.find("serviceDecl_low"), std::string::npos);
    EXPECT_EQ(once.find("serviceDecl_top"), std::string::npos);
    // Without the test hook a second call does nothing, whatever the directories say now.
    ServiceManager::getInstance()->registerServices(nullptr);
    EXPECT_EQ(output(2), once);
}

TEST_F(ServiceTest, ScanRegistersProxyServicesWithoutLoadingMainPlugins) {
    const std::string proxyFile = copyPlugin("serviceDecl_paint");
    const std::string mainFile = copyPlugin("paint_main");
    scan({dir().string()});
    EXPECT_EQ(output(2), "init serviceDecl_paint\n");
    ASSERT_NE(brush("flat"), nullptr);
    EXPECT_FALSE(kytest::isLibraryMapped(mainFile));
    EXPECT_EQ(brush("flat")->stroke(), 1);
    dropBrushes();
    EXPECT_FALSE(kytest::isLibraryMapped(proxyFile));
}

TEST_F(ServiceTest, HostileFilesAreReportedOneByOneWithoutACrash) {
    kytest::Random random(23);
    std::string noise;
    for (int i = 0; i < 4096; ++i) {
        noise += static_cast<char>(random.range(0, 255));
    }
    std::vector<std::string> failing = {"serviceDecl_empty0" KY_TEST_PLUGIN_SUFFIX,
                                        "serviceDecl_noise" KY_TEST_PLUGIN_SUFFIX,
                                        "serviceDecl_text.dll"};
    writeFile(failing[0], "");
    writeFile(failing[1], noise);
    writeFile(failing[2], "MZ but nothing more\n");
    std::filesystem::create_directory(path("serviceDecl_folder" KY_TEST_PLUGIN_SUFFIX));
    const std::string loop = "serviceDecl_loop" KY_TEST_PLUGIN_SUFFIX;
    if (kytest::makeSymbolicLink(path(loop), path(loop))) {
        failing.push_back(loop); // exists for no status query: fails without a system text
    }
    scan({dir().string()});
    std::string expected;
    const std::string out = output(1);
    for (const std::string& leaf : failing) {
        SCOPED_TRACE(leaf);
        const std::string system = leaf == loop ? "" : kytest::systemLoadError(path(leaf));
        EXPECT_EQ(system.empty(), leaf == loop);
        const std::string message = "Proxy failed to load: " + path(leaf) + "\n" + system + "\n";
        EXPECT_NE(out.find(message), std::string::npos);
        expected += message;
    }
    EXPECT_EQ(out.size(), expected.size()); // nothing else, in whatever order the scan met them
    EXPECT_EQ(output(2), "");
}

} // namespace
