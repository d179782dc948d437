#pragma once

#include "tests/engine/model/src/loadbytes.h"
#include "tests/engine/model/src/referencepose.h"

// A random figure whose vertices fit their nodes: each record of a vertex has the same place in the bind pose.
inline abc::File MakeFigure(uint32_t seed, uint32_t nNodes, uint32_t nKeys)
{
    abc::Random random(seed);
    abc::File file;
    file.nodes = random.Tree(nNodes);
    for (int i = 0; i < 3; ++i)
        file.anims.push_back(random.Animation("anim" + std::to_string(i), nNodes, nKeys));
    file.sockets = {{random.Int(nNodes), "socket", random.Place()}};
    file.pieces.resize(1);
    abc::Mesh& mesh = file.pieces[0].lods[0];
    mesh = random.RandomMesh(40, 60, nNodes);
    for (abc::Vert& vert : mesh.verts)
    {
        vert.normal = {0.6f, 0.0f, -0.8f};
        vert.weights.clear();
        const uint32_t n = 1 + random.Int(6);
        for (uint32_t i = 0; i < n; ++i)
        {
            const uint32_t iNode = random.Int(nNodes);
            const reference::Mat inverse = reference::RigidInverse(reference::Bind(file.nodes, iNode));
            const float share = i + 1 == n ? 1.0f - static_cast<float>(i) * 0.125f : 0.125f;
            abc::Weight weight{iNode, {}, share};
            for (size_t r = 0; r < 3; ++r)
                weight.xyz[r] = static_cast<float>((inverse[4 * r] * vert.pos[0] + inverse[4 * r + 1] * vert.pos[1] +
                                                    inverse[4 * r + 2] * vert.pos[2] + inverse[4 * r + 3]) *
                                                   share);
            vert.weights.push_back(weight);
        }
    }
    return file;
}

// One node that goes straight from key to key: x as given, at these times, with command strings "0", "1" and so on.
inline abc::Anim MakeWay(const std::string& name, const std::vector<uint32_t>& times, const std::vector<float>& places)
{
    abc::Anim anim;
    anim.name = name;
    anim.tracks.resize(1);
    for (size_t i = 0; i < times.size(); ++i)
    {
        anim.keys.push_back({times[i], std::to_string(i)});
        anim.tracks[0].push_back({{places[i], 0, 0}, {0, 0, 0, 1}});
    }
    return anim;
}

// A turn about y by so many radians.
inline abc::Quat TurnAboutY(float angle)
{
    return {0, std::sin(angle / 2), 0, std::cos(angle / 2)};
}
