#pragma once

// The run-time library in namespace zolt: models, their poses, sockets and vertices, and the streams that they are read
// from. The same things as those that the headers of the single classes declare without a namespace.

#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/modelfolder.h"
#include "engine/model/src/transformmaker.h"
#include "engine/model/src/vertexdeformrequest.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/mappedstream.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/rotations.h"
#include "zoltshared/stdzolt/stdiostream.h"
#include "zoltshared/stdzolt/vector3.h"

namespace zolt
{
using ::AnimInfo;
using ::AnimKeyFrame;
using ::AnimNode;
using ::AnimTime;
using ::AnimTracker;
using ::AttachmentHandler;
using ::AttachmentList;
using ::AttachmentRecord;
using ::AttachmentType;
using ::ChildInfo;
using ::LoadRequest;
using ::Model;
using ::ModelAllocations;
using ::ModelAnim;
using ::ModelFolder;
using ::ModelLink;
using ::ModelLoadCallback;
using ::ModelNode;
using ::ModelPiece;
using ::ModelPieceLOD;
using ::ModelSocket;
using ::ModelStringList;
using ::ModelTri;
using ::ModelVert;
using ::ModelVertWeight;
using ::NodeKeyFrame;
using ::TransformCallback;
using ::TransformMaker;
using ::VertexDeformRequest;
using ::WeightSet;

using ::DefaultLoadCallback;
using ::g_ModelMemory;
using ::g_TempMat;

using ::RESULT_ERROR;
using ::RESULT_INVALID_MODEL_FILE;
using ::RESULT_INVALID_PARAMS;
using ::RESULT_NOT_LOADED;
using ::RESULT_OK;
using ::RESULT_OUT_OF_MEMORY;

using ::ANIMTRACKER_NO_WEIGHTSET;
using ::LOAD_ERROR_TEXT_SIZE;
using ::MAX_ANIM_POSITIONS;
using ::MAX_CHILD_MODELS;
using ::MAX_NODE_PATH;
using ::MNODE_FIXEDOFFSET;
using ::MNODE_NO_PARENT;
using ::MNODE_REMOVEABLE;
using ::MODEL_ERRSTR_SIZE;
using ::MODEL_MAX_LEVELS;
using ::MODEL_MAX_NODES;
using ::MODEL_MAX_VERTS;
using ::MODELPIECE_NAME_SIZE;
using ::MODELSOCKET_NAME_SIZE;
using ::WEIGHTSET_NAME_SIZE;

using ::Allocator;
using ::BlockAllocator;
using ::CountingAllocator;
using ::DefaultCache;
using ::DynArray;
using ::FixedMemoryStream;
using ::MappedStream;
using ::Matrix4;
using ::MemoryStream;
using ::ModelStream;
using ::NoCache;
using ::Quaternion;
using ::StdioStream;
using ::Vector3;

using ::AssertionSink;
using ::BuildTransform;
using ::CreateFixedMemoryStream;
using ::CreateMemoryStream;
using ::g_DefaultAllocator;
using ::LoadFileToMemoryStream;
using ::MatrixFromAxisAngle;
using ::Multiply;
using ::OpenStdioStream;
using ::QuatMultiply;
using ::QuatSlerp;
using ::QZBOOL;
using ::SetAssertionSink;
} // namespace zolt
