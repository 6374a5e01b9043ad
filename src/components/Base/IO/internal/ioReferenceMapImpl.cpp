// ioReferenceMapImpl.cpp - the reference map.
#include <Base/IO/internal/ioReferenceMapImpl.h>

#include <Base/IO/ioPacketType.h>
#include <Base/Utility/shared/kyUtilCompiler.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>

// The general paths stay out of line (KY_NOINLINE), so that the common cases before them (the
// next object of a rising run, a back reference) run without saving registers: a file of small
// objects calls them once or twice per object.

ioReferenceMap::~ioReferenceMap() = default;

int ioReferenceMap::enter(const void* address) {
    const int number = lookup(address);
    return number >= 0 ? number : newReference(const_cast<void*>(address));
}

void ioReferenceMap::defineAndMark(int number, void* address, bool alias, ioPacketType* type) {
    define(number, address, alias);
    markDefined(number, type);
}

ioReferenceMap* ioPacketFileNewReferenceMap() {
    return new ioReferenceMapImpl();
}

ioReferenceMapImpl::ioReferenceMapImpl() : lastNumber_(0), capacity_(0), highest_(0) {}

ioReferenceMapImpl::~ioReferenceMapImpl() {
    for (Record* page : pages_) {
        if (page != nullptr) {
            for (int i = 0; queued_ > 0 && i < kPageSize; ++i) {
                freeFixups(page[i]);
            }
            delete[] page;
        }
    }
}

void ioReferenceMapImpl::freeFixups(Record& record) {
    while (record.pending != nullptr) {
        Fixup* next = record.pending->next;
        delete record.pending;
        record.pending = next;
        --queued_;
    }
}

void ioReferenceMapImpl::queue(Record& record, void** slot, ioPacketType* type, int extra) {
    auto* fixup = new Fixup{slot, type, extra, nullptr, nullptr};
    ++queued_;
    if (record.pending == nullptr) {
        record.pending = fixup;
    } else {
        record.pending->last->next = fixup;
    }
    record.pending->last = fixup;
}

void ioReferenceMapImpl::grow(int number) {
    if (number < capacity_) {
        return;
    }
    // Small files stay small; past a thousand records the table grows in large steps.
    std::int64_t target = number < 10     ? 10
                          : number < 100  ? 100
                          : number < 1000 ? 1000
                                          : number + 20000LL;
    if (target > INT_MAX) {
        target = INT_MAX;
    }
    capacity_ = static_cast<int>(target);
    pages_.resize(static_cast<std::size_t>((target + kPageSize - 1) / kPageSize), nullptr);
}

ioReferenceMapImpl::Record* ioReferenceMapImpl::newPage() {
    return new Record[kPageSize];
}

// A record is in use, and counts towards the highest number, from its first touch.
inline void ioReferenceMapImpl::noteTouched(Record& record, int number) {
    if (!record.inUse) {
        record.inUse = 1;
        record.live = 1;
    }
    if (number > highest_) {
        highest_ = number;
    }
}

// New numbers come in runs: the page of the highest one saves the division, and this test is
// small enough to be inlined into the operations below, which call it for every reference.
inline ioReferenceMapImpl::Record* ioReferenceMapImpl::touchFrontier(int number) {
    if (static_cast<unsigned>(number) - static_cast<unsigned>(lastPageFirst_) >=
            static_cast<unsigned>(kPageSize) ||
        number < 1 || number >= capacity_) {
        return nullptr;
    }
    Record* record = lastPage_ + (number - lastPageFirst_);
    noteTouched(*record, number);
    return record;
}

inline ioReferenceMapImpl::Record* ioReferenceMapImpl::touch(int number) {
    Record* record = touchFrontier(number);
    return record != nullptr ? record : touchPage(number);
}

// Out of line, so that a caller whose common case is the frontier saves no registers for it.
KY_NOINLINE ioReferenceMapImpl::Record* ioReferenceMapImpl::touchPage(int number) {
    if (number < 1) {
        return nullptr;
    }
    if (number >= capacity_) {
        grow(number);
    }
    Record*& page = pages_[static_cast<std::size_t>(number / kPageSize)];
    if (page == nullptr) {
        page = newPage();
    }
    if (number >= highest_) {
        // Only the frontier's page is kept: uses of older numbers, scattered over the table,
        // must not push it out.
        lastPage_ = page;
        lastPageFirst_ = number - number % kPageSize;
    }
    Record* record = page + number % kPageSize;
    noteTouched(*record, number);
    return record;
}

const ioReferenceMapImpl::Record* ioReferenceMapImpl::find(int number) const {
    if (number < 1 || number >= capacity_) {
        return nullptr;
    }
    const Record* page = pages_[static_cast<std::size_t>(number / kPageSize)];
    return page == nullptr ? nullptr : &page[number % kPageSize];
}

bool ioReferenceMapImpl::beyondLast(const void* address) const {
    if (tree_.empty()) {
        return true;
    }
    auto last = tree_.cend();
    --last;
    return std::less<const void*>()(last->first, address);
}

int ioReferenceMapImpl::newReference(void* address) {
    const int number = ++lastNumber_;
    define(number, address, false);
    return number;
}

void ioReferenceMapImpl::define(int number, void* address, bool alias) {
    defineRecord(number, address, alias);
}

void ioReferenceMapImpl::defineAndMark(int number, void* address, bool alias, ioPacketType* type) {
    // appendRising takes numbers above every one touched, which cannot have fix-ups waiting;
    // the test of `pending` only keeps that from being an assumption.
    Record* record = alias ? nullptr : appendRising(number, address);
    if (record == nullptr || record->pending != nullptr) {
        defineAndMarkGeneral(number, address, alias, type, record); // calls no more here
        return;
    }
    record->defined = 1;
    record->definingType = type;
}

KY_NOINLINE void ioReferenceMapImpl::defineAndMarkGeneral(int number, void* address, bool alias,
                                                          ioPacketType* type, Record* record) {
    if (record == nullptr) {
        record = defineGeneral(number, address, alias);
    }
    if (record != nullptr) {
        mark(*record, type);
    } else {
        markDefined(number, type); // a null address still marks the number, as the two calls do
    }
}

// `number` at `at` continues the rising run. The step is the second address less the first,
// and stays known while every address is the last plus that step.
inline void ioReferenceMapImpl::extendRising(int number, std::uintptr_t at) {
    if (at - risingLast_ != risingStep_) {
        risingStep_ = number == 2 ? at - risingLast_ : 0;
        if (risingStep_ != 0) {
            setStepDivisor();
        }
    }
    risingFirst_ = number == 1 ? at : risingFirst_;
    risingLast_ = at;
    risingCount_ = number;
}

// The next number of the rising run, at an address above the run's last, on the page of the
// highest number and above it (objects written or read in order): what defineGeneral does then,
// without its general tests. Null, with nothing changed, in any other case.
inline ioReferenceMapImpl::Record* ioReferenceMapImpl::appendRising(int number, void* address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    if (!rising_ || number <= 2 || number != risingCount_ + 1 || number != highest_ + 1 ||
        at <= risingLast_ || number >= capacity_ ||
        static_cast<unsigned>(number - lastPageFirst_) >= static_cast<unsigned>(kPageSize)) {
        return nullptr;
    }
    Record& record = lastPage_[number - lastPageFirst_];
    record.inUse = 1;
    record.live = 1;
    record.alias = 0;
    record.address = address;
    extendRising(number, at);
    highest_ = number;
    lastNumber_ = std::max(lastNumber_, number);
    return &record;
}

int ioReferenceMapImpl::enter(const void* address) {
    // The interface's composition without its two virtual calls; a new object above all
    // others is answered by the rising run's first test.
    const int number = ioReferenceMapImpl::lookup(address);
    return number >= 0 ? number : ioReferenceMapImpl::newReference(const_cast<void*>(address));
}

inline ioReferenceMapImpl::Record* ioReferenceMapImpl::defineRecord(int number, void* address,
                                                                    bool alias) {
    Record* next = alias ? nullptr : appendRising(number, address);
    return next != nullptr ? next : defineGeneral(number, address, alias);
}

KY_NOINLINE ioReferenceMapImpl::Record* ioReferenceMapImpl::defineGeneral(int number, void* address,
                                                                          bool alias) {
    if (address == nullptr || number < 1) {
        return nullptr;
    }
    Record* record = touch(number);
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    if (rising_ && !alias && number == risingCount_ + 1 && (number == 1 || at > risingLast_)) {
        // The records hold the pair: the tree gets it only if the run ends.
        extendRising(number, at);
    } else {
        leaveRising();
        if (beyondLast(address)) {
            // Objects from an array or a pool arrive in rising address order: the hint makes
            // their insertion constant time.
            tree_.insert(tree_.cend(), {address, number});
        } else {
            auto inserted = tree_.insert({address, number});
            if (!inserted.second) {
                inserted.first->second = number; // an address that had another number
            }
        }
    }
    if (!alias || record->address == nullptr) {
        record->address = address;
    }
    record->alias = alias ? 1 : 0;
    record->live = 1;
    if (number > lastNumber_) {
        // Numbers read from a file are taken: a later newReference must not hand them out.
        lastNumber_ = number;
    }
    return record;
}

void ioReferenceMapImpl::leaveRising() {
    if (!rising_) {
        return;
    }
    rising_ = false;
    for (int n = 1; n <= risingCount_; ++n) {
        tree_.insert(tree_.cend(), {find(n)->address, n}); // in rising order: constant time
    }
}

KY_NOINLINE void ioReferenceMapImpl::setStepDivisor() {
    std::uintptr_t odd = risingStep_;
    int shift = 0;
    while ((odd & 1) == 0) {
        odd >>= 1;
        ++shift;
    }
    // Newton's iteration for the inverse modulo 2^N (N the word's bits, 64 at most): an odd
    // number is its own inverse to 3 bits, and each step doubles the bits that are right.
    std::uintptr_t inverse = odd;
    for (int i = 0; i < 6; ++i) {
        inverse *= 2 - odd * inverse;
    }
    stepShift_ = shift;
    stepInverse_ = inverse;
    stepQuotientMax_ = UINTPTR_MAX / odd;
}

// While the numbers 1 to `risingCount_` went to rising addresses, one each, the records are a
// sorted table of addresses: a search there finds what the tree would, and objects from an
// array are found at the first guess, by where the address lies between the first and the last.
int ioReferenceMapImpl::risingLookup(std::uintptr_t at) const {
    if (risingCount_ == 0 || at < risingFirst_ || at > risingLast_) {
        return -1;
    }
    if (risingStep_ != 0) {
        // The objects of an array: the addresses held are exactly first + k * step, so the
        // number follows from the address, with no record read. The division is exact: with
        // the step's power of two shifted out, the product by the odd factor's inverse is the
        // quotient when the offset is a multiple, and larger than any quotient when it is not.
        const std::uintptr_t offset = at - risingFirst_;
        const std::uintptr_t low = (std::uintptr_t{1} << stepShift_) - 1;
        const std::uintptr_t quotient = (offset >> stepShift_) * stepInverse_;
        return (offset & low) == 0 && quotient <= stepQuotientMax_ ? static_cast<int>(quotient) + 1
                                                                   : -1;
    }
    int low = 1;
    int high = risingCount_;
    int guess = risingCount_ == 1
                    ? 1
                    : 1 + static_cast<int>(static_cast<double>(at - risingFirst_) /
                                               static_cast<double>(risingLast_ - risingFirst_) *
                                               (risingCount_ - 1) +
                                           0.5); // rounded: a quotient just below k is k
    while (low <= high) {
        guess = std::max(low, std::min(high, guess));
        // Every record of the run exists: no checks (nor a call) on the way.
        const Record& record =
            pages_[static_cast<std::size_t>(guess / kPageSize)][guess % kPageSize];
        const std::uintptr_t there = reinterpret_cast<std::uintptr_t>(record.address);
        if (there == at) {
            return guess;
        }
        if (there < at) {
            low = guess + 1;
        } else {
            high = guess - 1;
        }
        guess = low + (high - low) / 2;
    }
    return -1;
}

int ioReferenceMapImpl::lookup(const void* address) const {
    if (address == nullptr) {
        return 0;
    }
    if (rising_) {
        return risingLookup(reinterpret_cast<std::uintptr_t>(address));
    }
    if (beyondLast(address)) {
        return -1; // the common case of a new object: no descent
    }
    auto it = tree_.find(address);
    if (it == tree_.end()) {
        return -1;
    }
    const Record* record = find(it->second);
    if (record == nullptr || !record->live) {
        return -1;
    }
    return it->second;
}

bool ioReferenceMapImpl::isDefined(int number) const {
    const Record* record = find(number);
    return record != nullptr && record->defined && record->live;
}

void* ioReferenceMapImpl::definition(int number) const {
    const Record* record = find(number);
    return record == nullptr ? nullptr : record->address;
}

void ioReferenceMapImpl::markDefined(int number, ioPacketType* type) {
    // A writer marks the number it just entered: on the frontier page. Anywhere else is a
    // call in tail position, so this path saves no registers.
    if (Record* record = touchFrontier(number)) {
        mark(*record, type);
    } else {
        markElsewhere(number, type);
    }
}

KY_NOINLINE void ioReferenceMapImpl::markElsewhere(int number, ioPacketType* type) {
    if (Record* record = touchPage(number)) {
        mark(*record, type);
    }
}

inline void ioReferenceMapImpl::mark(Record& record, ioPacketType* type) {
    record.defined = 1;
    record.definingType = type;
    if (record.pending != nullptr) {
        fillFixups(record);
    }
}

KY_NOINLINE void ioReferenceMapImpl::fillFixups(Record& record) {
    for (Fixup* f = record.pending; f != nullptr; f = f->next) {
        if (f->slot != nullptr) {
            *f->slot = record.address;
        }
    }
    freeFixups(record);
}

void ioReferenceMapImpl::use(int number, ioPacketType* type, int extra) {
    Record* record = touch(number);
    if (record == nullptr) {
        return;
    }
    record->used = 1;
    if (!record->defined) {
        queue(*record, nullptr, type, extra);
    }
}

void ioReferenceMapImpl::undefine(int number) {
    if (find(number) == nullptr) {
        return;
    }
    leaveRising(); // before a record loses its address
    Record* record = touch(number);
    record->live = 0;
    record->address = nullptr;
}

void ioReferenceMapImpl::undefine(void* address) {
    const int number = lookup(address);
    if (number > 0) {
        undefine(number);
    }
}

void ioReferenceMapImpl::resolve(int number, void** slot, ioPacketType* type, int extra) {
    if (number >= 1 && number < capacity_) {
        // A number defined before (the usual back reference): it was touched when it was
        // defined, so only the use is new.
        Record* page = pages_[static_cast<std::size_t>(number / kPageSize)];
        if (page != nullptr && page[number % kPageSize].defined) {
            Record& record = page[number % kPageSize];
            record.used = 1;
            if (slot != nullptr) {
                *slot = record.address;
            }
            return;
        }
    }
    resolvePending(number, slot, type, extra);
}

KY_NOINLINE void ioReferenceMapImpl::resolvePending(int number, void** slot, ioPacketType* type,
                                                    int extra) {
    if (slot != nullptr) {
        *slot = nullptr;
    }
    Record* record = touch(number);
    if (record == nullptr) {
        return;
    }
    record->used = 1;
    if (record->defined) {
        if (slot != nullptr) {
            *slot = record->address;
        }
        return;
    }
    queue(*record, slot, type, extra);
}

void ioReferenceMapImpl::resolveRemaining(ioClientReadContext& client) {
    // Page by page, in number order; untouched pages were never allocated.
    for (int first = 0; highest_ > 0 && first <= highest_; first += kPageSize) {
        Record* page = pages_[static_cast<std::size_t>(first / kPageSize)];
        const int end = std::min(highest_ + 1, first + kPageSize) - first;
        for (int i = first == 0 ? 1 : 0; page != nullptr && i < end; ++i) {
            Record& record = page[i];
            if (!record.inUse || !record.live) {
                continue;
            }
            for (Fixup* f = record.pending; f != nullptr; f = f->next) {
                if (f->type != nullptr) {
                    f->type->handleUnresolvedPtr(client, static_cast<void*>(f->slot), f->extra);
                }
            }
            if (record.defined && !record.used && record.definingType != nullptr) {
                record.definingType->handleUnreferencedMemory(client, record.address);
            }
        }
    }
}

void ioReferenceMapImpl::reportUnresolved(ioPacketType* type, void (*function)(void*, int)) {
    if (function == nullptr) {
        return;
    }
    for (int n = 1; n <= highest_; ++n) {
        const Record* record = find(n);
        for (Fixup* f = record == nullptr ? nullptr : record->pending; f != nullptr; f = f->next) {
            if (f->type == type) {
                function(static_cast<void*>(f->slot), f->extra);
            }
        }
    }
}
