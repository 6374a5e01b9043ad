// PluginFixture.h - a temporary plug-in directory, captured application output and clean-up
// of the test brushes, shared by the plug-in tests.
#ifndef KY_TESTS_PLUGIN_FIXTURE_H
#define KY_TESTS_PLUGIN_FIXTURE_H

#include "kyTestLibrary.h"
#include "kyTestSupport.h"
#include "plugins/TestBrush.h"

#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/internal/kyPluginLibrary.h>
#include <Base/Plugin/kyPluginPlugin.h>
#include <Base/Plugin/kyPluginService.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kytest {

class PluginFixture : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        kyOS::AppOutput::setSink(&PluginFixture::capture, this);
    }
    void TearDown() override {
        dropBrushes();
        kyPlugin::detail::libraryCalls() = kyPlugin::detail::nativeLibraryCalls();
        kyPlugin::detail::resetServiceScanForTesting();
        kyOS::AppMain::setPluginDirectories(ky::vector<kyString::IString>());
        kyOS::AppOutput::setSink(nullptr);
        TempDirTest::TearDown();
    }

    /// Copies the built test plug-in `name` into the test's directory as `as` (default: its
    /// own file name) and returns the copy's path.
    std::string copyPlugin(const std::string& name, std::string as = std::string()) {
        const std::string file = name + KY_TEST_PLUGIN_SUFFIX;
        if (as.empty()) {
            as = file;
        }
        std::filesystem::copy_file(std::filesystem::path(KY_TEST_PLUGIN_DIR) / file, path(as));
        return path(as);
    }
    void writeFile(const std::string& leaf, const std::string& bytes) {
        std::FILE* f = std::fopen(path(leaf).c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
    /// Everything written to `channel` since the test began (or since `clearOutput`).
    std::string output(int channel) const {
        std::string text;
        for (const auto& line : lines_) {
            if (line.first == channel) {
                text += line.second;
            }
        }
        return text;
    }
    void clearOutput() { lines_.clear(); }
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
    static BrushService* brush(const char* name) {
        return static_cast<BrushService*>(
            kyPlugin::ServiceManager::getInstance()->getService("Brush", name));
    }
    /// Destroys a service that nobody holds (services are counted, the registry holds none).
    static void destroy(kyPlugin::Service* service) {
        ky::Reference<kyPlugin::Service> last(service);
    }
    static void dropBrushes() {
        kyPlugin::ServiceManager* m = kyPlugin::ServiceManager::getInstance();
        while (m->getNumServices("Brush") > 0) {
            destroy(m->getService(m->getServiceIndex("Brush"), 0));
        }
    }

private:
    static void capture(void* self, int channel, const char* text) {
        static_cast<PluginFixture*>(self)->lines_.emplace_back(channel, text);
    }
    std::vector<std::pair<int, std::string>> lines_;
};

} // namespace kytest

#endif // KY_TESTS_PLUGIN_FIXTURE_H
