// ioReferenceMapImpl.h - the reference map: a tree of addresses and paged number records.
#ifndef KY_IO_INTERNAL_REFERENCEMAPIMPL_H
#define KY_IO_INTERNAL_REFERENCEMAPIMPL_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyMap.h>
#include <Base/IO/ioReferenceMap.h>

#include <cstdint>
#include <vector>

/// Addresses go to numbers through a red-black tree (nodes from a block allocator, ten a
/// block); numbers go to records held in pages of 1,250. Pages are allocated when a record
/// in them is first touched, so a high number costs one page, not every page below it.
/// While numbers from 1 on go to rising addresses, one each (objects written or read from an
/// array or a pool), the records are already a sorted table of the pairs: the tree is filled
/// from them only when that run ends, and lookups search the records until then (or, while the
/// addresses are evenly spaced, compute the number from the address).
class KY_BASE_API ioReferenceMapImpl : public ioReferenceMap {
public:
    static constexpr int kPageSize = 1250;

    struct Fixup {
        void** slot;
        ioPacketType* type;
        int extra;
        Fixup* next;
        Fixup* last; ///< in the first fix-up of a record only: where the next one is appended
    };
    /// 32 bytes: a file of a million objects holds a million of these.
    struct Record {
        unsigned char inUse = 0;
        unsigned char defined = 0;
        unsigned char live = 0;
        unsigned char alias = 0;
        unsigned char used = 0; ///< asked for by a use or a fix-up at least once
        void* address = nullptr;
        ioPacketType* definingType = nullptr;
        Fixup* pending = nullptr; ///< first queued fix-up: filled and reported in order
    };

    ioReferenceMapImpl();
    ~ioReferenceMapImpl() override;

    int newReference(void* address) override;
    void define(int number, void* address, bool alias) override;
    int lookup(const void* address) const override;
    bool isDefined(int number) const override;
    void* definition(int number) const override;
    void markDefined(int number, ioPacketType* type) override;
    void use(int number, ioPacketType* type, int extra) override;
    void undefine(int number) override;
    void undefine(void* address) override;
    void resolve(int number, void** slot, ioPacketType* type, int extra) override;
    void resolveRemaining(ioClientReadContext& client) override;
    void reportUnresolved(ioPacketType* type, void (*function)(void*, int)) override;

    int highestNumber() const override { return highest_ > lastNumber_ ? highest_ : lastNumber_; }
    int enter(const void* address) override;
    void defineAndMark(int number, void* address, bool alias, ioPacketType* type) override;

    int getCapacity() const { return capacity_; }
    int getHighest() const { return highest_; }
    /// The record of `number` when its page exists (null otherwise or out of range).
    const Record* find(int number) const;

private:
    /// Grows the table so that `number` is below the capacity.
    void grow(int number);
    /// The record of `number`, creating its page; null for numbers below 1.
    Record* touch(int number);
    /// `touch` on the frontier page (the highest number's); null, with nothing done, elsewhere.
    Record* touchFrontier(int number);
    /// `touch` anywhere: finds (or makes) the page, and moves the frontier.
    Record* touchPage(int number);
    void noteTouched(Record& record, int number);
    static Record* newPage();
    void freeFixups(Record& record);
    void queue(Record& record, void** slot, ioPacketType* type, int extra);
    /// `define` on the record it returns (null when nothing was defined): `appendRising` when
    /// it applies, else `defineGeneral`.
    Record* defineRecord(int number, void* address, bool alias);
    Record* defineGeneral(int number, void* address, bool alias);
    /// `defineAndMark` past its common case: `record` is the one `appendRising` defined (its
    /// fix-ups still due), or null when it did not apply.
    void defineAndMarkGeneral(int number, void* address, bool alias, ioPacketType* type,
                              Record* record);
    /// Takes `number` at `at` into the rising run, which it continues.
    void extendRising(int number, std::uintptr_t at);
    /// Derives the exact division by `risingStep_` (not 0).
    void setStepDivisor();
    /// `define` for the next object of a rising run on the frontier page; null, with nothing
    /// done, when the general path is needed.
    Record* appendRising(int number, void* address);
    /// `markDefined` off the frontier page.
    void markElsewhere(int number, ioPacketType* type);
    /// `markDefined` on a record.
    void mark(Record& record, ioPacketType* type);
    /// Fills and frees the record's queued fix-ups.
    void fillFixups(Record& record);
    /// `resolve` for a number not yet defined (or out of the table).
    void resolvePending(int number, void** slot, ioPacketType* type, int extra);
    /// True when `address` sorts after every address in the tree (or the tree is empty).
    bool beyondLast(const void* address) const;
    /// `lookup` while the map is rising (see there): the number of `at`, -1 when none.
    int risingLookup(std::uintptr_t at) const;
    /// Ends the rising run (if any), moving its pairs into the tree.
    void leaveRising();

    ky::map<const void*, int> tree_;
    int lastNumber_;
    int capacity_;
    int highest_;
    std::vector<Record*> pages_;
    // Fix-ups queued and not yet freed: with none, the destructor need not visit every record.
    std::int64_t queued_ = 0;
    // The page of the highest number touched and its first number (pages live as long as the
    // map).
    Record* lastPage_ = nullptr;
    int lastPageFirst_ = -kPageSize;
    // Whether every number so far went, in order from 1, to an address above the one before
    // (no alias, no second definition, nothing undefined): then lookups need no tree descent.
    bool rising_ = true;
    int risingCount_ = 0;
    std::uintptr_t risingFirst_ = 0;
    std::uintptr_t risingLast_ = 0;
    // The distance between consecutive addresses of the run while it is one and the same (an
    // array), else 0 (also before the second number).
    std::uintptr_t risingStep_ = 0;
    // The step as 2^stepShift_ times an odd factor, the factor's inverse modulo 2^N and the
    // highest quotient by it: an offset is a multiple of the step, and its quotient known, by
    // a shift and a multiplication (no division on the lookup of every reference).
    int stepShift_ = 0;
    std::uintptr_t stepInverse_ = 0;
    std::uintptr_t stepQuotientMax_ = 0;
};

#endif // KY_IO_INTERNAL_REFERENCEMAPIMPL_H
