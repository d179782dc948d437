// The host's side of the scene library: what is open, who listens, and which calls are to fail.
#pragma once

#include "saa/recordedscene.h"

#include <vector>

// What operations answer beside 0 (and the 3 of SAA_sceneInitInternal).
enum
{
    SAA_STATUS_ARGUMENT = 1,   // a null pointer, a negative size, a constant that isn't known, a time that is no number
    SAA_STATUS_VERSION = 2,    // another version of the interface is asked for
    SAA_STATUS_HANDLE = 4,     // a handle that stands for nothing, or for something else than is asked for
    SAA_STATUS_COUNT = 5,      // a count that isn't that of the list
    SAA_STATUS_NO_SCENE = 6,   // no scene is open, or the record is that of another one
    SAA_STATUS_NO_TEXTURE = 7, // the mesh has no global texture
    SAA_STATUS_NO_VALUE = 8,   // there is no custom value of that name
    SAA_STATUS_NO_MEMORY = 9
};

// What SAA_sceneGetCurrent answers from now on; null closes the scene. Not owned.
void SetCurrentScene(RecordedScene* scene);

// Called with each text for the status bar. Null for nobody, as at the start.
void SetStatusSink(void (*sink)(const char* text, void* context), void* context);

// Called with each frame that the play control is moved to.
void SetFrameSink(void (*sink)(int frame, void* context), void* context);

// The custom values of an element of the scene, for SAA_cusvalGetStringLength and SAA_cusvalGetStringValue; they live
// as long as the scene.
const SAA_CusvalSet* GetCustomValues(RecordedScene& scene, int element);

// Lets the n-th call of an operation from now on (1 is the next one) answer with a status other than 0, once. Another
// call for the same operation replaces the fault. False if there is no operation of that name, or n or status make no
// sense.
bool FailOperation(const char* name, int nthCall, int status);

// Takes all faults back, sets the counts of calls to 0 and forgets that SAA_sceneInitInternal was called.
void ClearFaults();

// How often an operation was called since the start or the last ClearFaults, faults included; -1 for an unknown name.
int CallCount(const char* name);

// The names of all operations, those of SAAX.h at the end.
const std::vector<const char*>& ListOperations();
