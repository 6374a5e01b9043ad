// ioPacketRegistry.cpp - the registry of packet types and its text block.
#include <Base/IO/ioPacketRegistry.h>

#include <Base/Containers/kyMap.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioPacketType.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace ioDetail {

struct RegistryTable {
    std::vector<ioPacketType*> byId;
    ky::map<std::string, ioPacketType*> byName;
    int matched = 0;
};

// A registry line is read into an area of this size (so at most 89 characters).
constexpr int kRegistryLine = 90;

} // namespace ioDetail

ioPacketRegistry::ioPacketRegistry(bool numberWhenRead)
    : table_(new ioDetail::RegistryTable()), initialised_(false), numberWhenRead_(numberWhenRead) {}

ioPacketRegistry::~ioPacketRegistry() {
    for (auto& entry : table_->byName) {
        delete entry.second;
    }
}

void ioPacketRegistry::init() {
    if (!initialised_) {
        supportedType(new ioPacketString());
        supportedType(new ioPacketEOF());
        registerAllTypes();
        initialised_ = true;
    }
    table_->matched = 0;
}

void ioPacketRegistry::number(ioPacketType* type, bool force) {
    if (type->id_ >= 0) {
        ++table_->matched;
        return;
    }
    const std::string name = type->getName();
    auto it = table_->byName.find(name);
    if (it == table_->byName.end()) {
        table_->byName[name] = type;
    } else if (it->second != type) {
        delete type; // one type per name: the first registered stays
        return;
    }
    if (force) {
        type->id_ = static_cast<int>(table_->byId.size());
        table_->byId.push_back(type);
    }
}

void ioPacketRegistry::supportedType(ioPacketType* type) {
    if (type != nullptr) {
        number(type, !numberWhenRead_);
    }
}

int ioPacketRegistry::numTypes() const {
    return static_cast<int>(table_->byId.size());
}

int ioPacketRegistry::numMatched() const {
    return table_->matched;
}

ioPacketType* ioPacketRegistry::lookup(const char* name) const {
    if (name == nullptr) {
        return nullptr;
    }
    auto it = table_->byName.find(std::string(name));
    return it == table_->byName.end() ? nullptr : it->second;
}

ioPacketType* ioPacketRegistry::lookup(int id) const {
    if (id < 0 || id >= numTypes()) {
        return nullptr;
    }
    return table_->byId[static_cast<std::size_t>(id)];
}

void ioPacketRegistry::writeRegistry(ioBufferedStreamOutput& stream, bool write) {
    if (write) {
        for (ioPacketType* type : table_->byId) {
            stream.printf("%4d %s\n", type->getId(), type->getName());
        }
    }
    stream.writeString("@\n");
}

ioStatus ioPacketRegistry::readRegistry(ioBufferedStreamInput& stream) {
    char line[ioDetail::kRegistryLine];
    char name[ioDetail::kRegistryLine];
    bool first = true;
    int previous = 0;
    for (;;) {
        stream.readLine(line, ioDetail::kRegistryLine);
        if (!stream.good()) {
            return ioFailed;
        }
        if (line[0] == '@') {
            return ioGood;
        }
        int id = 0;
        if (std::sscanf(line, "%d %89s", &id, name) != 2) {
            return ioBadData;
        }
        if (!first && (previous == 0x7FFFFFFF || id != previous + 1)) {
            return ioBadData;
        }
        first = false;
        previous = id;
        ioPacketType* type = lookup(name);
        if (type == nullptr) {
            type = new ioPacketType(name);
        }
        number(type, true);
    }
}

ioSimplePacketRegistry::ioSimplePacketRegistry(bool numberWhenRead)
    : ioPacketRegistry(numberWhenRead) {}

ioSimplePacketRegistry::~ioSimplePacketRegistry() {
    for (ioPacketType* type : pending_) {
        delete type; // added but never registered
    }
}

void ioSimplePacketRegistry::add(const char* name) {
    pending_.push_back(new ioPacketType(name));
}

void ioSimplePacketRegistry::add(const char* name, void (*function)()) {
    callbacks_.emplace_back(new ioGlobalReadCallback(function));
    pending_.push_back(new ioSimplePacketType(name, callbacks_.back().get()));
}

void ioSimplePacketRegistry::registerAllTypes() {
    for (ioPacketType* type : pending_) {
        supportedType(type);
    }
    pending_.clear();
}
