// A small scene whose export can be worked out by hand: a root of scale 2, a joint that is turned by 90 degrees about z
// and moves along z, a triangle that is enveloped to both, and a rigid triangle on the joint.
#pragma once

#include "scene/scene.h"

#include <cmath>

struct TestSceneParts
{
    const char* skinName = "skin_zTex1"; // of the enveloped mesh
    bool hat = true;                     // the rigid mesh on the joint
    bool extra = false;                  // a null under the root, in front of the joint
    double end = 0.7;                    // time of the second key
};

inline int AddTestNode(Scene& scene, const char* name, int parent)
{
    const int index = static_cast<int>(scene.nodes.size());
    scene.nodes.emplace_back();
    scene.nodes.back().name = name;
    scene.nodes.back().parent = parent;
    if (parent < 0)
        scene.roots.push_back(index);
    else
        scene.nodes[static_cast<size_t>(parent)].children.push_back(index);
    return index;
}

inline Scene MakeTestScene(const TestSceneParts& parts = {})
{
    Scene scene;
    scene.name = "walk";
    scene.fileStem = "test";
    const int root = AddTestNode(scene, "root", -1);
    scene.nodes[0].local.scale = {2.0, 2.0, 2.0};
    scene.nodes[0].isJoint = true;
    if (parts.extra)
        AddTestNode(scene, "extra", root);
    const int bone = AddTestNode(scene, "bone", root);
    SceneNode& boneNode = scene.nodes.back();
    boneNode.isJoint = true;
    boneNode.local.translation = {1.0, 0.0, 0.0};
    boneNode.local.rotation = {0.0, 0.0, std::sqrt(0.5), std::sqrt(0.5)};

    scene.images.push_back({"texture", 64, 32});
    ScenePrimitive triangle;
    triangle.positions = {{0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {0.0, 4.0, 2.0}};
    triangle.texCoords = {{0.0F, 0.25F}, {0.5F, 0.5F}, {1.0F, 0.125F}};
    triangle.triangles = {{{0, 1, 2}}};
    triangle.influenceStarts = {0, 1, 2, 4};
    triangle.influences = {{0, 1.0}, {0, 1.0}, {0, 0.75}, {1, 0.25}};
    triangle.image = 0;
    scene.primitives.push_back(triangle);

    // Bound as it stands: the inverses of the joints' global matrices.
    SceneSkin skin;
    skin.joints = {bone, root};
    skin.inverseBinds.resize(2);
    InvertAffine(MultiplyAffine(MatrixFromTransform(scene.nodes[0].local), MatrixFromTransform(boneNode.local)),
                 skin.inverseBinds[0]);
    InvertAffine(MatrixFromTransform(scene.nodes[0].local), skin.inverseBinds[1]);
    scene.skins.push_back(skin);
    const int mesh = AddTestNode(scene, parts.skinName, root);
    scene.nodes[static_cast<size_t>(mesh)].meshes.push_back({0, 0});

    if (parts.hat)
    {
        ScenePrimitive rigid;
        rigid.positions = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
        rigid.triangles = {{{0, 1, 2}}};
        scene.primitives.push_back(rigid);
        const int hat = AddTestNode(scene, "hat", bone);
        scene.nodes[static_cast<size_t>(hat)].local.translation = {0.0, 0.0, 1.0};
        scene.nodes[static_cast<size_t>(hat)].meshes.push_back({1, -1});
    }

    SceneClip clip;
    clip.name = "walk";
    SceneChannel channel;
    channel.node = bone;
    channel.times = {0.2, parts.end};
    channel.values = {1.0, 0.0, 0.0, 1.0, 0.0, 4.0};
    clip.channels.push_back(channel);
    scene.clips.push_back(clip);
    return scene;
}
