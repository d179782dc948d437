#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Model files from plain records, byte by byte, independent of the code under test.
namespace abc
{
struct Bytes
{
    std::string data;

    void U8(unsigned v) { data.push_back(static_cast<char>(v)); }
    void U16(unsigned v) { U8(v & 255), U8(v >> 8 & 255); }
    void U32(uint32_t v) { U16(v & 65535), U16(v >> 16); }
    void F32(float v)
    {
        uint32_t bits;
        memcpy(&bits, &v, 4);
        U32(bits);
    }
    template <class T> void Floats(const T& values)
    {
        for (float v : values)
            F32(v);
    }
    void Str(const std::string& s) { U16(static_cast<unsigned>(s.size())), data += s; }
};

using Vec = std::array<float, 3>;
using Quat = std::array<float, 4>;
struct Key
{
    Vec t{};
    Quat q{0, 0, 0, 1};
};
struct Node
{
    std::string name;
    unsigned flags = 0;
    std::array<float, 16> global{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    int parent = -1; // in pre-order
};
struct Weight
{
    uint32_t node;
    Vec xyz; // times the share
    float share;
};
struct Vert
{
    std::vector<Weight> weights;
    unsigned reserved = 0;
    Vec pos{}, normal{};
};
struct Tri
{
    std::array<unsigned, 3> indices{};
    std::array<float, 6> uvs{};
};
struct Mesh
{
    std::vector<Tri> tris;
    std::vector<Vert> verts;
};
struct Piece
{
    std::string name;
    unsigned texture = 0, nSkipped = 0;
    Vec params{5, 1, 1};
    std::vector<Mesh> lods = std::vector<Mesh>(1);
};
struct Set
{
    std::string name;
    std::vector<float> values;
};
struct Link
{
    std::string name; // of link 1 and up
    uint32_t stamp = 0;
    std::vector<Key> relations; // missing ones are the identity
};
struct Anim
{
    std::string name;
    Vec dims{128, 16, 16}, translation{};
    int paramA = -1, paramB = 200;
    std::vector<std::pair<uint32_t, std::string>> keys;
    std::vector<std::vector<Key>> tracks; // by node
};
struct Socket
{
    uint32_t node = 0;
    std::string name;
    Key place;
};
using Binding = std::pair<std::string, Vec>; // animation name and translation

struct File
{
    uint32_t version = 12;
    std::string command;
    float headerFloat = 96;
    std::vector<float> lodDistances;
    std::vector<Piece> pieces;
    std::vector<Node> nodes = std::vector<Node>(1);
    std::vector<Set> sets;
    std::vector<Link> links = std::vector<Link>(1);
    std::vector<Anim> anims;
    std::vector<Socket> sockets;
    std::vector<std::vector<Binding>> linkBindings; // of link 1 and up
    std::vector<std::string> order{"Header", "Pieces", "Nodes", "ChildModels", "Animation", "Sockets", "AnimBindings"};
    std::map<std::string, std::string> bodies; // replaces or adds whole sections

    std::vector<int> Children(int parent) const
    {
        std::vector<int> children;
        for (size_t i = 0; i < nodes.size(); ++i)
            if (nodes[i].parent == parent)
                children.push_back(static_cast<int>(i));
        return children;
    }

    std::array<uint32_t, 13> Counts() const
    {
        std::array<uint32_t, 13> n{};
        std::set<std::string> strings{command};
        for (const Anim& a : anims)
        {
            n[0] += static_cast<uint32_t>(a.keys.size());
            strings.insert(a.name);
            for (const auto& key : a.keys)
                strings.insert(key.second);
        }
        n[1] = static_cast<uint32_t>(anims.size());
        n[2] = static_cast<uint32_t>(nodes.size());
        n[3] = static_cast<uint32_t>(pieces.size());
        n[4] = static_cast<uint32_t>(links.size());
        for (const Piece& p : pieces)
            for (const Mesh& m : p.lods)
            {
                n[5] += static_cast<uint32_t>(m.tris.size());
                n[6] += static_cast<uint32_t>(m.verts.size());
                for (const Vert& v : m.verts)
                    n[7] += static_cast<uint32_t>(v.weights.size());
            }
        n[8] = static_cast<uint32_t>(lodDistances.size() + 1);
        n[9] = static_cast<uint32_t>(sockets.size());
        n[10] = static_cast<uint32_t>(sets.size());
        for (const Node& node : nodes)
            strings.insert(node.name);
        for (size_t i = 1; i < links.size(); ++i)
            strings.insert(links[i].name);
        strings.erase("");
        n[11] = static_cast<uint32_t>(strings.size());
        for (const std::string& s : strings)
            n[12] += static_cast<uint32_t>(s.size());
        return n;
    }

    std::string Body(const std::string& section) const
    {
        Bytes b;
        const auto key = [&](const Key& k) { b.Floats(k.t), b.Floats(k.q); };
        if (auto it = bodies.find(section); it != bodies.end())
            return it->second;
        if (section == "Header")
        {
            b.U32(version);
            for (uint32_t count : Counts())
                b.U32(count);
            b.Str(command), b.F32(headerFloat), b.U16(static_cast<unsigned>(lodDistances.size()));
            b.data.append(62, '\0');
            b.Floats(lodDistances);
        }
        else if (section == "Pieces")
        {
            b.U32(Counts()[7]), b.U32(static_cast<uint32_t>(pieces.size()));
            for (const Piece& p : pieces)
            {
                b.U16(p.texture), b.F32(p.params[0]), b.F32(p.params[1]);
                if (version >= 10)
                    b.F32(p.params[2]);
                b.U16(p.nSkipped), b.data.append(size_t{4} * p.nSkipped, 'x');
                b.Str(p.name);
                for (const Mesh& m : p.lods)
                {
                    b.U32(static_cast<uint32_t>(m.tris.size()));
                    for (const Tri& t : m.tris)
                        for (size_t c = 0; c < 3; ++c)
                            b.F32(t.uvs[2 * c]), b.F32(t.uvs[2 * c + 1]), b.U16(t.indices[c]);
                    b.U32(static_cast<uint32_t>(m.verts.size()));
                    for (const Vert& v : m.verts)
                    {
                        b.U16(static_cast<unsigned>(v.weights.size())), b.U16(v.reserved);
                        for (const Weight& w : v.weights)
                            b.U32(w.node), b.Floats(w.xyz), b.F32(w.share);
                        b.Floats(v.pos), b.Floats(v.normal);
                    }
                }
            }
        }
        else if (section == "Nodes")
        {
            std::vector<uint32_t> nChildren(nodes.size());
            for (const Node& n : nodes)
                if (n.parent >= 0)
                    ++nChildren[n.parent];
            for (size_t i = 0; i < nodes.size(); ++i)
            {
                b.Str(nodes[i].name), b.U16(static_cast<unsigned>(i)), b.U8(nodes[i].flags);
                b.Floats(nodes[i].global), b.U32(nChildren[i]);
            }
            b.U32(static_cast<uint32_t>(sets.size()));
            for (const Set& s : sets)
                b.Str(s.name), b.U32(static_cast<uint32_t>(s.values.size())), b.Floats(s.values);
        }
        else if (section == "ChildModels")
        {
            b.U32(static_cast<uint32_t>(links.size()));
            for (size_t i = 0; i < links.size(); ++i)
            {
                if (i != 0)
                    b.Str(links[i].name);
                b.U32(links[i].stamp);
                for (size_t n = 0; n < nodes.size(); ++n)
                    key(n < links[i].relations.size() ? links[i].relations[n] : Key());
            }
        }
        else if (section == "Animation")
        {
            b.U32(static_cast<uint32_t>(anims.size()));
            for (const Anim& a : anims)
            {
                b.Floats(a.dims), b.Str(a.name);
                if (version >= 11)
                    b.U32(static_cast<uint32_t>(a.paramA));
                if (version >= 12)
                    b.U32(static_cast<uint32_t>(a.paramB));
                b.U32(static_cast<uint32_t>(a.keys.size()));
                for (const auto& k : a.keys)
                    b.U32(k.first), b.Str(k.second);
                for (const auto& track : a.tracks)
                    for (const Key& k : track)
                        key(k);
            }
        }
        else if (section == "Sockets")
        {
            b.U32(static_cast<uint32_t>(sockets.size()));
            for (const Socket& s : sockets)
                b.U32(s.node), b.Str(s.name), b.Floats(s.place.q), b.Floats(s.place.t);
        }
        else if (section == "AnimBindings")
        {
            b.U32(static_cast<uint32_t>(anims.size()));
            for (const Anim& a : anims)
                b.Str(a.name), b.Floats(a.dims), b.Floats(a.translation);
            for (size_t i = 1; i < links.size(); ++i)
            {
                const std::vector<Binding> none;
                const std::vector<Binding>& bindings = i <= linkBindings.size() ? linkBindings[i - 1] : none;
                b.U32(static_cast<uint32_t>(bindings.size()));
                for (const Binding& binding : bindings)
                    b.Str(binding.first), b.Floats(Vec{9, 9, 9}), b.Floats(binding.second);
            }
        }
        return b.data;
    }

    std::string Write() const
    {
        Bytes file;
        for (size_t i = 0; i < order.size(); ++i)
        {
            const std::string body = Body(order[i]);
            file.Str(order[i]);
            const bool bLast = i + 1 == order.size();
            file.U32(bLast ? 0xFFFFFFFF : static_cast<uint32_t>(file.data.size() + 4 + body.size()));
            file.data += body;
        }
        return file.data;
    }
};

// Random records, the same for the same seed.
class Random
{
public:
    explicit Random(uint32_t seed) : m_Engine(seed) {}

    uint32_t Int(uint32_t n) { return static_cast<uint32_t>(m_Engine()) % n; } // 0 to n - 1
    float Float(float low, float high) { return low + (high - low) * static_cast<float>(Int(100001)) / 100000.0f; }
    Vec Vector(float size) { return {Float(-size, size), Float(-size, size), Float(-size, size)}; }
    Quat Rotation()
    {
        Quat q;
        float length = 0;
        while (length < 0.1f)
        {
            for (float& c : q)
                c = Float(-1, 1);
            length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        }
        for (float& c : q)
            c /= length;
        return q;
    }
    Key Place() { return {Vector(20), Rotation()}; }
    std::array<float, 16> Matrix()
    {
        const auto [t, q] = Place();
        const auto [x, y, z, w] = q;
        const Vec rows[] = {{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                            {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                            {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}};
        std::array<float, 16> matrix = Node().global;
        for (size_t i = 0; i < 3; ++i)
        {
            std::copy(rows[i].begin(), rows[i].end(), matrix.begin() + 4 * i);
            matrix[4 * i + 3] = t[i];
        }
        return matrix;
    }
    std::vector<Node> Tree(uint32_t nNodes)
    {
        std::vector<Node> nodes(nNodes);
        std::vector<int> path; // pre-order: the parent is on the path to the node before
        for (uint32_t i = 0; i < nNodes; ++i)
        {
            nodes[i].name = "node" + std::to_string(i);
            nodes[i].global = Matrix();
            path.resize(i == 0 ? 0 : 1 + Int(static_cast<uint32_t>(path.size())));
            nodes[i].parent = i == 0 ? -1 : path.back();
            path.push_back(static_cast<int>(i));
        }
        return nodes;
    }
    Anim Animation(const std::string& name, uint32_t nNodes, uint32_t nKeys)
    {
        Anim anim;
        anim.name = name;
        anim.translation = Vector(5);
        anim.dims = Vector(100);
        for (uint32_t k = 0; k < nKeys; ++k)
            anim.keys.push_back({100 * k, Int(3) ? "" : "cmd" + std::to_string(Int(4))});
        anim.tracks.resize(nNodes, std::vector<Key>(nKeys));
        for (auto& track : anim.tracks)
            for (Key& key : track)
                key = Place();
        return anim;
    }
    Mesh RandomMesh(uint32_t nVerts, uint32_t nTris, uint32_t nNodes)
    {
        Mesh mesh;
        mesh.verts.resize(nVerts);
        for (Vert& v : mesh.verts)
        {
            v.pos = Vector(50), v.normal = {0, 1, 0}, v.reserved = Int(65536);
            for (uint32_t i = Int(5); i > 0; --i)
                v.weights.push_back({Int(nNodes), Vector(30), Float(0.05f, 1)});
        }
        mesh.tris.resize(nVerts ? nTris : 0);
        for (Tri& t : mesh.tris)
        {
            for (unsigned& index : t.indices)
                index = Int(nVerts);
            for (float& uv : t.uvs)
                uv = Float(0, 1);
        }
        return mesh;
    }
    File Model()
    {
        File f;
        const uint32_t nNodes = 1 + Int(12);
        f.version = 9 + Int(4);
        f.command = Int(2) ? "VisRadius 75" : "";
        f.nodes = Tree(nNodes);
        f.nodes[Int(nNodes)].name = f.command;
        f.lodDistances.resize(Int(3), 500);
        for (uint32_t i = Int(4); i > 0; --i)
        {
            f.pieces.push_back({});
            Piece& p = f.pieces.back();
            p.name = "piece" + std::to_string(i), p.nSkipped = Int(3), p.texture = i;
            p.lods.clear();
            for (size_t lod = 0; lod <= f.lodDistances.size(); ++lod)
                p.lods.push_back(RandomMesh(Int(12), Int(9), nNodes));
        }
        for (uint32_t i = Int(3); i > 0; --i)
            f.sets.push_back({"set" + std::to_string(i), std::vector<float>(nNodes, 0.5f)});
        for (uint32_t i = Int(4); i > 0; --i)
            f.anims.push_back(Animation("anim" + std::to_string(i), nNodes, Int(5)));
        for (uint32_t i = Int(3); i > 0; --i)
            f.sockets.push_back({Int(nNodes), "socket" + std::to_string(i), Place()});
        for (uint32_t i = Int(3); i > 0; --i)
            f.links.push_back({"child" + std::to_string(i), Int(100), {Place()}});
        return f;
    }
    // Of some 400 KB, with long texts.
    File LargeModel()
    {
        File f;
        f.nodes = Tree(5);
        f.pieces = {{"large", 0, 0, {2, 3, 4}, {RandomMesh(3000, 2000, 5)}}};
        f.sets = {{"set", std::vector<float>(5, 0.5f)}};
        f.anims = {Animation("walk", 5, 1000)};
        for (uint32_t k = 0; k < 1000; k += 10)
            f.anims[0].keys[k].second = std::string(1 + Int(4095), static_cast<char>('a' + k % 26));
        return f;
    }

private:
    std::mt19937 m_Engine;
};
} // namespace abc
