// ioReferenceMap.h - ioReferenceMap, object addresses to reference numbers and back.
#ifndef KY_IO_REFERENCEMAP_H
#define KY_IO_REFERENCEMAP_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyReferenceCount.h>

class ioClientReadContext;
class ioPacketType;

/// Gives every written object a number from 1 (0 is null) and, when reading, turns numbers
/// back into the new objects' addresses; a use read before its definition queues a fix-up
/// that the definition fills. Reference-counted so that several contexts (and files) can
/// share one. Make one with `ioPacketFileNewReferenceMap()`.
///
/// Not thread-safe. Numbers below 1 are ignored where a number is defined.
class KY_BASE_API ioReferenceMap : public ky::ReferenceCount {
public:
    ~ioReferenceMap() override;

    /// The next number, entered for `address`.
    virtual int newReference(void* address) = 0;
    /// Enters `address` for `number` (a second address when `alias`).
    virtual void define(int number, void* address, bool alias) = 0;
    /// 0 for null, -1 when unknown or undefined, else the number.
    virtual int lookup(const void* address) const = 0;
    virtual bool isDefined(int number) const = 0;
    virtual void* definition(int number) const = 0;
    /// Records the defining type and fills every queued fix-up of `number`.
    virtual void markDefined(int number, ioPacketType* type) = 0;
    /// Counts a use; queues a fix-up without a slot when `number` is not yet defined.
    virtual void use(int number, ioPacketType* type, int extra) = 0;
    virtual void undefine(int number) = 0;
    virtual void undefine(void* address) = 0;
    /// Nulls `*slot`, then fills it now or queues it until `number` is defined.
    virtual void resolve(int number, void** slot, ioPacketType* type, int extra) = 0;
    /// Reports fix-ups never filled and defined objects never used to their types.
    virtual void resolveRemaining(ioClientReadContext& client) = 0;
    /// Calls `function(slot, extra)` for every queued fix-up asked for by `type`.
    virtual void reportUnresolved(ioPacketType* type, void (*function)(void*, int)) = 0;
    /// The highest number handed out or touched so far.
    virtual int highestNumber() const = 0;
    /// The number of `address` (0 for null), a new one when it has none: what a writer asks
    /// for every object it names. `lookup`, then `newReference` when that is negative; a map
    /// may answer in one step.
    virtual int enter(const void* address);
    /// `define(number, address, alias)`, then `markDefined(number, type)`: what a reader does
    /// for every object it creates. A map may do both in one step.
    virtual void defineAndMark(int number, void* address, bool alias, ioPacketType* type);
};

/// A new, empty reference map (count 0: the first holder takes the first count).
KY_BASE_API ioReferenceMap* ioPacketFileNewReferenceMap();

#endif // KY_IO_REFERENCEMAP_H
