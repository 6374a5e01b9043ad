// packets_example.cpp - writing an object graph to a binary packet file and reading it back
// (the example of docs/packets.md, built and run as a test).
#include "example_check.h"

#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

// Two kinds of object that point at each other.
struct Material {
    std::string name;
};
struct Mesh {
    int vertices = 0;
    double bounds[6] = {};
    Material* material = nullptr;
    Mesh* parent = nullptr;
};

// Where the reader puts what it makes.
std::vector<std::unique_ptr<Mesh>> gMeshes;
std::vector<std::unique_ptr<Material>> gMaterials;

void readMesh(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    gMeshes.emplace_back(new Mesh());
    Mesh& mesh = *gMeshes.back();
    r.definePacketReference(&mesh); // the number the writer gave this mesh
    r.readInt(mesh.vertices);
    r.readDoubleArray(mesh.bounds, 6);       // arrays carry no count: the reader knows it
    r.readReferenceUsage(&mesh.material, 0); // filled now, or when the material arrives
    r.readReferenceUsage(&mesh.parent, 1);
}

void readMaterial(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    gMaterials.emplace_back(new Material());
    r.definePacketReference(gMaterials.back().get());
    gMaterials.back()->name = r.readCString();
}

// The packet types the program knows: the same registry writes and reads.
class SceneRegistry : public ioPacketRegistry {
public:
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("mesh", &readMesh));
        supportedType(new ioReadPacketByFunction("material", &readMaterial));
    }
};

} // namespace

int main() {
    Material steel{"steel"};
    Mesh root{8, {0, 0, 0, 1, 1, 1}, &steel, nullptr};
    Mesh child{4, {0, 0, 0, 1, 0, 1}, &steel, &root};
    const char* path = "packets_example.pkt";

    {
        ioBufferedStreamOutput out;
        out.openFile(kyString::IString(L"packets_example.pkt"));
        SceneRegistry registry;
        std::unique_ptr<ioWriteContext> w(ioWriteContextAlloc(out, ioWriteBinary, &registry));
        w->startFile(); // header and registry block
        for (const Mesh* mesh : {&child, &root}) {
            w->startPacket("mesh", mesh); // the mesh gets its number here
            w->writeInt(mesh->vertices);
            w->writeDoubleArray(mesh->bounds, 6);
            w->writeReference(mesh->material, false); // used before it is defined
            w->writeReference(mesh->parent, false);
            w->endPacket();
        }
        w->startPacket("material", &steel);
        w->writeCString(steel.name.c_str());
        w->endPacket();
        w->endFile();
        CHECK(w->good());
        out.close();
        CHECK(out.good());
    }

    ioBufferedStreamInput in;
    in.openFile(kyString::IString(L"packets_example.pkt"));
    SceneRegistry registry;
    std::unique_ptr<ioReadContext> r(ioReadContextAlloc(in, &registry));
    CHECK(r != nullptr);
    ioClientReadContext client(*r);
    r->readFile(client);
    CHECK(r->good());
    CHECK(gMeshes.size() == 2 && gMaterials.size() == 1);
    const Mesh& readChild = *gMeshes[0];
    const Mesh& readRoot = *gMeshes[1];
    CHECK(readChild.parent == &readRoot && readRoot.parent == nullptr);
    CHECK(readChild.material == gMaterials[0].get() && readRoot.material == gMaterials[0].get());
    CHECK(gMaterials[0]->name == "steel" && readChild.vertices == 4);
    in.close();
    std::remove(path);
    std::printf("two meshes and a shared material came back with their pointers\n");
    return 0;
}
