// ioPacketRegistry.h - ioPacketRegistry, the packet types of a file and their ids.
#ifndef KY_IO_PACKETREGISTRY_H
#define KY_IO_PACKETREGISTRY_H

#include <Base/BaseExport.h>
#include <Base/IO/ioContext.h>

#include <memory>
#include <vector>

class ioBufferedStreamInput;
class ioBufferedStreamOutput;
class ioPacketType;
class ioGlobalReadCallback;

namespace ioDetail {
struct RegistryTable;
}

/// The packet types an application writes or reads. It owns its types. With the constructor
/// flag false a type is numbered when it is registered; with it true a type is numbered only
/// when a file's registry block names it, so that a reader follows the writer's order.
/// The block is text in every encoding: one "%4d %s\n" line per type, then "@\n".
///
/// Not thread-safe. `readRegistry` treats its input as hostile.
class KY_BASE_API ioPacketRegistry {
public:
    explicit ioPacketRegistry(bool numberWhenRead = false);
    virtual ~ioPacketRegistry();
    ioPacketRegistry(const ioPacketRegistry&) = delete;
    ioPacketRegistry& operator=(const ioPacketRegistry&) = delete;

    /// Derived registries register their types here; `init` calls it once.
    virtual void registerAllTypes() {}

    /// First call: the built-in types and `registerAllTypes()`. Every call: matched count 0.
    void init();
    /// Takes ownership of `type`. A second type of a name already known is destroyed.
    void supportedType(ioPacketType* type);
    int numTypes() const;
    int numMatched() const;
    ioPacketType* lookup(const char* name) const;
    ioPacketType* lookup(int id) const;
    void writeRegistry(ioBufferedStreamOutput& stream, bool write);
    /// `ioGood`, `ioFailed` (stream) or `ioBadData` (ids out of sequence, unreadable line).
    ioStatus readRegistry(ioBufferedStreamInput& stream);

private:
    void number(ioPacketType* type, bool force);

    std::unique_ptr<ioDetail::RegistryTable> table_;
    bool initialised_;
    bool numberWhenRead_;
};

/// A registry filled by name: `add(name)` for a type that reads nothing, `add(name, function)`
/// for one that calls `function` per packet; `registerAllTypes` registers what was added.
class KY_BASE_API ioSimplePacketRegistry : public ioPacketRegistry {
public:
    explicit ioSimplePacketRegistry(bool numberWhenRead = false);
    ~ioSimplePacketRegistry() override;
    void add(const char* name);
    void add(const char* name, void (*function)());
    void registerAllTypes() override;

private:
    std::vector<ioPacketType*> pending_;
    std::vector<std::unique_ptr<ioGlobalReadCallback>> callbacks_;
};

#endif // KY_IO_PACKETREGISTRY_H
