// PluginFixture.h - a temporary plug-in directory, captured application output and clean-up
// of the registry, shared by the plug-in tests.
#ifndef KY_TESTS_PLUGIN_FIXTURE_H
#define KY_TESTS_PLUGIN_FIXTURE_H

#include "kyTestLibrary.h"
#include "kyTestSupport.h"
#include "plugins/TestBrush.h"

#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/internal/kyPluginLibrary.h>
#include <Base/Plugin/kyPluginPlugin.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace kytest {

class PluginFixture : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        kyOS::AppOutput::setSink(&PluginFixture::capture, this);
    }
    void TearDown() override {
        while (brush(0) != nullptr) {
            destroy(brush(0));
        }
        kyPlugin::detail::libraryCalls() = kyPlugin::detail::nativeLibraryCalls();
        kyPlugin::detail::resetServiceScanForTesting();
        kyOS::AppOutput::setSink(nullptr);
        TempDirTest::TearDown();
    }
    /// Copies the built test plug-in `name` into the test's directory as `as` (default: its
    /// own file name) and returns the copy's path.
    std::string copyPlugin(const std::string& name, std::string as = std::string()) {
        as = as.empty() ? name + KY_TEST_PLUGIN_SUFFIX : as;
        std::filesystem::copy_file(
            std::filesystem::path(KY_TEST_PLUGIN_DIR) / (name + KY_TEST_PLUGIN_SUFFIX), path(as));
        return path(as);
    }
    std::string writeFile(const std::string& leaf, const std::string& bytes) {
        std::ofstream(path(leaf), std::ios::binary) << bytes;
        return path(leaf);
    }
    /// Everything written to `channel` since the test began (or since `clearOutput`).
    std::string output(int channel) const { return text_[channel == 1 ? 0 : 1]; }
    void clearOutput() { text_[0] = text_[1] = ""; }
    /// Scans `directories` as the plug-in directories of a fresh process would be scanned.
    void scan(const std::vector<std::string>& directories, const char* subdirectory = nullptr) {
        ky::vector<kyString::IString> list;
        for (const std::string& d : directories) {
            list.push_back(kyString::IString(d.c_str()));
        }
        kyOS::AppMain::setPluginDirectories(list);
        kyPlugin::detail::resetServiceScanForTesting();
        kyPlugin::ServiceManager::getInstance()->registerServices(subdirectory);
    }
    template <class Key>
    static BrushService* brush(Key key) {
        kyPlugin::ServiceManager* m = kyPlugin::ServiceManager::getInstance();
        return static_cast<BrushService*>(m->getService(m->getServiceIndex("Brush"), key));
    }
    /// Destroys a service that nobody holds (the registry holds no count).
    static void destroy(kyPlugin::Service* service) {
        ky::Reference<kyPlugin::Service> last(service);
    }

private:
    static void capture(void* self, int channel, const char* text) {
        static_cast<PluginFixture*>(self)->text_[channel == 1 ? 0 : 1] += text;
    }
    std::string text_[2];
};

} // namespace kytest

#endif // KY_TESTS_PLUGIN_FIXTURE_H
