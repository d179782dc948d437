#include "tests/install/playermodel.h"

#include "tests/engine/model/src/abcbytes.h"

#include <fstream>

// A time, and the places of hips, arm and hand.
struct Moment
{
    uint32_t m_Time;
    abc::Key m_Places[3];
};

static abc::Anim MakeAnim(const char* pName, const abc::Vec& offset, const std::vector<Moment>& moments)
{
    abc::Anim anim;
    anim.name = pName;
    anim.translation = offset;
    anim.tracks.resize(3);
    for (const Moment& moment : moments)
    {
        anim.keys.push_back({moment.m_Time, ""});
        for (size_t i = 0; i < 3; ++i)
            anim.tracks[i].push_back(moment.m_Places[i]);
    }
    return anim;
}

bool SavePlayerModel(const char* pPath, bool bBare)
{
    abc::File file;
    file.nodes = {{.name = "hips"}, {.name = "arm", .parent = 0}, {.name = "hand", .parent = 1}};
    file.nodes[1].global[7] = file.nodes[2].global[7] = 10.0f;
    file.nodes[2].global[3] = 5.0f;

    // A triangle: one corner on the hand, one halfway between arm and hand, one on the arm with half a share.
    file.pieces.resize(1);
    file.pieces[0].name = "glove";
    abc::Mesh& mesh = file.pieces[0].lods[0];
    mesh.tris = {{{0, 1, 2}, {}}};
    mesh.verts = {{{{2, {1, 0, 0}, 1}}, 0, {6, 10, 0}, {}},
                  {{{1, {2, 1, 0}, 0.5f}, {2, {-0.5f, 1, 0}, 0.5f}}, 0, {4, 12, 0}, {}},
                  {{{1, {0, 0.5f, 0}, 0.5f}}, 0, {0, 11, 0}, {}}};

    const auto at = [](float x, float y, float z) { return abc::Key{{x, y, z}, {0, 0, 0, 1}}; };
    const abc::Key still = at(0, 0, 0), arm = at(0, 10, 0), hand = at(5, 0, 0), handOut = at(7, 0, 0);
    const abc::Key armUp = {{0, 10, 0}, {0, 0, 0.70710678f, 0.70710678f}};
    file.anims = {MakeAnim("wave", {}, {{0, {still, arm, hand}}, {200, {at(2, 0, 0), armUp, hand}}}),
                  // Two keys at one time: the second one holds.
                  MakeAnim("rest", {0, 0, 1},
                           {{0, {at(10, 0, 0), arm, hand}},
                            {100, {at(10, -1, 0), arm, hand}},
                            {100, {at(20, -1, 0), arm, hand}},
                            {200, {at(20, -2, 0), arm, hand}}}),
                  MakeAnim("nod", {0, 0, 50}, {{0, {still, arm, handOut}}, {800, {still, at(0, 10, 16), handOut}}})};
    if (!bBare)
    {
        file.sets = {{"arms", {0, 2, 0.5f}}}; // the arm: added; the hand: halfway
        file.sockets = {{2, "grip", at(1, 0, 0)}};
    }
    std::ofstream stream(pPath, std::ios::binary);
    stream << file.Write() << std::flush;
    return stream.good();
}
