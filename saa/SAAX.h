// What this host offers beyond the operations of its scene library (SAA.h), whose rules hold here as well. A plug-in
// looks whether they are there before it calls them: the library itself doesn't have them.
#ifndef SAA_SAAX_H
#define SAA_SAAX_H

#include "saa/SAA.h"

#ifdef __cplusplus
extern "C"
{
#endif

    /* Envelopes: the skeleton elements that move control vertices of a mesh, each once, in any order. Of all others
       SAA_envelopeGetNbCtrlVertices answers 0 for this mesh. */
    int SAAX_envelopeGetNbSkeletons(const SAA_Scene* scene, const SAA_Elem* mesh, int* count);
    int SAAX_envelopeGetSkeletons(const SAA_Scene* scene, const SAA_Elem* mesh, int count, SAA_Elem* skeletons);

#ifdef __cplusplus
}
#endif

#endif
