// The half of the program that sees the library through its inline namespace.

#include "zolt/play.h"

uint32_t HeroModelMemory()
{
    zolt::Matrix4 turned;
    turned.SetTranslation(1, 2, 3);
    Model* pModel = Model::CreateModel(); // both names are the same class
    static_assert(std::is_same_v<zolt::Model, Model> && std::is_same_v<hero::Model, Model>);
    zolt::ModelInstance instance;
    const bool bRefused = !instance.Init(*pModel); // it has no nodes
    const uint32_t memory = bRefused && (turned * turned)(2, 3) == 6.0f ? zolt::g_ModelMemory : 0;
    Model::DeleteModel(pModel);
    return memory;
}
