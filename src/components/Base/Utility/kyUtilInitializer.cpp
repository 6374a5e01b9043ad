// kyUtilInitializer.cpp - the registries of kyUtil::Initializer and their ordering.
#include <Base/Utility/kyUtilInitializer.h>

#include <Base/Containers/kyHashMap.h>
#include <Base/Containers/kyList.h>
#include <Base/Containers/kyVector.h>

#include <algorithm>
#include <new>
#include <utility>

namespace kyUtil {

namespace {

constexpr const char* kDefaultSource = "src/components/Base/Utility/kyUtilInitializer";

using Dependency = std::pair<Initializer*, Initializer*>; // (dependent, dependency)

// Made on first use by the registry functions and owned by them. Plain pointers are
// constant-initialised, so initialisers may register from any library's static construction.
ky::vector<Initializer*>* gPending = nullptr;
ky::list<Dependency>* gDependencies = nullptr;
ky::vector<Initializer*>* gInitialized = nullptr;

} // namespace

// The visit counts of the dependency graph. An initialiser counts one visit for each time it is
// pending and one for every visit of an initialiser that depends on it (once per declared
// pair): the number of dependency paths that reach it. Counted in topological order, which
// gives the same numbers as walking every path but in time linear in the graph, and finds
// cycles instead of running forever.
struct InitializerRegistry {
    static bool countVisits(Initializer** cycleMember) {
        ky::vector<Initializer*> nodes;
        ky::hash_map<Initializer*, int> index;
        auto nodeOf = [&](Initializer* p) {
            auto it = index.find(p);
            if (it != index.end()) {
                return it->second;
            }
            const int i = static_cast<int>(nodes.size());
            nodes.push_back(p);
            index[p] = i;
            return i;
        };
        ky::vector<long long> counts;
        for (Initializer* p : *gPending) {
            const int i = nodeOf(p);
            if (counts.size() <= static_cast<std::size_t>(i)) {
                counts.resize(static_cast<std::size_t>(i) + 1, 0);
            }
            ++counts[static_cast<std::size_t>(i)];
        }
        ky::vector<std::pair<int, int>> edges;
        if (gDependencies) {
            for (const Dependency& d : *gDependencies) {
                const int from = nodeOf(d.first);
                const int to = nodeOf(d.second);
                edges.push_back({from, to});
            }
        }
        const std::size_t n = nodes.size();
        counts.resize(n, 0);
        ky::vector<int> indegree(n, 0);
        ky::vector<ky::vector<int>> out(n);
        for (const auto& e : edges) {
            out[static_cast<std::size_t>(e.first)].push_back(e.second);
            ++indegree[static_cast<std::size_t>(e.second)];
        }
        ky::vector<int> ready;
        for (std::size_t i = 0; i < n; ++i) {
            if (indegree[i] == 0) {
                ready.push_back(static_cast<int>(i));
            }
        }
        std::size_t done = 0;
        while (!ready.empty()) {
            const std::size_t i = static_cast<std::size_t>(ready.back());
            ready.pop_back();
            ++done;
            for (int j : out[i]) {
                const std::size_t k = static_cast<std::size_t>(j);
                counts[k] += counts[i];
                if (--indegree[k] == 0) {
                    ready.push_back(j);
                }
            }
        }
        if (done != n) {
            for (std::size_t i = 0; i < n; ++i) {
                if (indegree[i] != 0) {
                    *cycleMember = nodes[i];
                    break;
                }
            }
            return false;
        }
        for (std::size_t i = 0; i < n; ++i) {
            const long long total = nodes[i]->visits_ + counts[i];
            nodes[i]->visits_ = total > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(total);
        }
        return true;
    }
};

Initializer::Initializer() : source_(kDefaultSource), visits_(0) {
    addInit();
}

Initializer::Initializer(const char* source)
    : source_(source ? source : kDefaultSource), visits_(0) {
    addInit();
}

Initializer::~Initializer() = default;

void Initializer::finalize() {}

void Initializer::addInit() {
    if (!gPending) {
        gPending = new ky::vector<Initializer*>();
    }
    gPending->push_back(this);
}

void Initializer::dependsOn(Initializer* other) {
    if (!other) {
        return;
    }
    if (!gDependencies) {
        gDependencies = new ky::list<Dependency>();
    }
    gDependencies->push_back(Dependency(this, other));
}

Error Initializer::initializeAll() {
    if (!gPending) {
        return Error();
    }
    Initializer* cycleMember = nullptr;
    if (!InitializerRegistry::countVisits(&cycleMember)) {
        // No order exists. Nothing is initialised, and the registries are emptied as after a
        // run, so no pointer to a pending initialiser outlives this call.
        Error cycle(1, "Initializer dependencies form a cycle through %s",
                    cycleMember ? cycleMember->source() : "?");
        delete gPending;
        gPending = nullptr;
        delete gDependencies;
        gDependencies = nullptr;
        return cycle;
    }
    if (!gInitialized) {
        gInitialized = new ky::vector<Initializer*>();
    }
    gInitialized->reserve(gInitialized->size() + gPending->size());

    ky::vector<Initializer*> order(*gPending);
    std::stable_sort(order.begin(), order.end(), [](const Initializer* a, const Initializer* b) {
        return a->visits_ > b->visits_;
    });

    Error result;
    for (Initializer* init : order) {
        Error e = init->initialize();
        gInitialized->insert(gInitialized->begin(), init);
        // The run goes on after a failure; the last failure in this order is reported.
        if (e.code() != 0) {
            result = std::move(e);
        }
    }

    delete gPending;
    gPending = nullptr;
    delete gDependencies;
    gDependencies = nullptr;
    return result;
}

void Initializer::finalizeAll() {
    if (!gInitialized) {
        return;
    }
    // Take the list first, so a finalize() that registers or finalises again cannot disturb it.
    ky::vector<Initializer*>* list = gInitialized;
    gInitialized = nullptr;
    for (Initializer* init : *list) {
        init->finalize();
    }
    delete list;
}

} // namespace kyUtil
