// kyOSDebugTrace.cpp - timing traces and their manager.
#include <Base/OS/kyOSDebugTrace.h>

#include <Base/Containers/kyHashSet.h>
#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Utility/kyImplBase.h>

#include <mutex>

namespace kyOS {

// ---- DebugTrace ---------------------------------------------------------------------------

DebugTrace::DebugTrace(const kyString::CString& name, int level) : name_(name), level_(level) {
    init();
}

DebugTrace::DebugTrace(const kyString::CString& name, int level, const kyString::CString& category)
    : name_(name), level_(level), category_(category) {
    init();
}

DebugTrace::DebugTrace(const kyString::CString& name, int level, const kyString::CString& category,
                       const kyString::CString& subcategory)
    : name_(name), level_(level), category_(category), subcategory_(subcategory) {
    init();
}

DebugTrace::~DebugTrace() {
    DebugTraceManager::getInstance().unregisterTrace(this);
}

void DebugTrace::init() {
    DebugTraceManager& manager = DebugTraceManager::getInstance();
    if (category_.isEmpty()) {
        manager.registerTrace(this);
    } else if (subcategory_.isEmpty()) {
        manager.registerTrace(this, category_);
    } else {
        manager.registerTrace(this, category_, subcategory_);
    }
}

void DebugTrace::start(const char* text) {
    if (!enabled_) {
        return;
    }
    ++calls_;
    AppOutput::printf(AppOutput::kInformation, "%9.4f Start trace: %s %s\n", AppMain::getElapsed(),
                      name_.asChar(), text != nullptr ? text : "");
    AppOutput::indent();
    watches_.push_back(StopWatch());
    watches_.back().start();
}

double DebugTrace::stop() {
    if (!enabled_ || watches_.empty()) {
        return 0.0;
    }
    const double seconds = watches_.back().stop();
    total_ += seconds;
    watches_.pop_back();
    AppOutput::unindent();
    AppOutput::printf(AppOutput::kInformation,
                      "%9.4f End trace: %s elapsed %.4f total %.4f calls %d\n",
                      AppMain::getElapsed(), name_.asChar(), seconds, total_, calls_);
    return seconds;
}

double DebugTrace::tick(const char* text) {
    if (!enabled_) {
        return 0.0;
    }
    const double seconds = watches_.empty() ? 0.0 : watches_.back().check();
    if (text != nullptr) {
        AppOutput::printf(AppOutput::kInformation, "%9.4f tick trace: %s %s now %.4f\n",
                          AppMain::getElapsed(), name_.asChar(), text, seconds);
    } else {
        AppOutput::printf(AppOutput::kInformation, "%9.4f tick trace: %s now %.4f\n",
                          AppMain::getElapsed(), name_.asChar(), seconds);
    }
    return seconds;
}

void DebugTrace::print(const char* text) {
    if (!enabled_ || text == nullptr) {
        return;
    }
    AppOutput::printf(AppOutput::kInformation, "%9.4f trace: %s.  %s\n", AppMain::getElapsed(),
                      name_.asChar(), text);
}

// ---- DebugTraceManager --------------------------------------------------------------------

namespace detail {

// The registry behind the manager: the traces and the enabled categories, under one mutex.
class DebugTraceManagerImpl : public ky::ImplBase {
public:
    mutable std::mutex mutex;
    ky::vector<DebugTrace*> traces;
    ky::hash_set<kyString::CString> enabledCategories;
    bool allEnabled = false;
};

} // namespace detail

DebugTraceManager::DebugTraceManager() : impl_(new detail::DebugTraceManagerImpl) {}

DebugTraceManager::~DebugTraceManager() {
    delete impl_;
}

DebugTraceManager& DebugTraceManager::getInstance() {
    // Never destroyed: static traces unregister during shutdown in no particular order.
    static DebugTraceManager* manager = new DebugTraceManager;
    return *manager;
}

bool DebugTraceManager::isEnabled(const DebugTrace* trace) const {
    if (trace->category_.isEmpty() || impl_->allEnabled) {
        return true;
    }
    if (impl_->enabledCategories.contains(trace->category_)) {
        return true;
    }
    if (trace->subcategory_.isEmpty()) {
        return false;
    }
    kyString::CString both(trace->category_);
    both += '/';
    both += trace->subcategory_;
    return impl_->enabledCategories.contains(both);
}

void DebugTraceManager::initializeTrace(DebugTrace* trace, bool registered) {
    trace->setEnabled(registered && isEnabled(trace));
}

void DebugTraceManager::registerTrace(DebugTrace* trace) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->traces.push_back(trace);
    initializeTrace(trace, true);
}

void DebugTraceManager::registerTrace(DebugTrace* trace, const kyString::CString& category) {
    if (&category != &trace->category_) {
        trace->category_ = category;
    }
    registerTrace(trace);
}

void DebugTraceManager::registerTrace(DebugTrace* trace, const kyString::CString& category,
                                      const kyString::CString& subcategory) {
    if (&subcategory != &trace->subcategory_) {
        trace->subcategory_ = subcategory;
    }
    registerTrace(trace, category);
}

void DebugTraceManager::unregisterTrace(DebugTrace* trace) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    for (auto it = impl_->traces.begin(); it != impl_->traces.end(); ++it) {
        if (*it == trace) {
            impl_->traces.erase(it);
            return;
        }
    }
}

void DebugTraceManager::enableCategory(const kyString::CString& category) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->enabledCategories.insert(category);
    for (DebugTrace* trace : impl_->traces) {
        initializeTrace(trace, true);
    }
}

void DebugTraceManager::enableAllCategories() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->allEnabled = true;
    for (DebugTrace* trace : impl_->traces) {
        initializeTrace(trace, true);
    }
}

int DebugTraceManager::numTraces() const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return static_cast<int>(impl_->traces.size());
}

} // namespace kyOS
