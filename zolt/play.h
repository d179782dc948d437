#pragma once

// Figures that play a model's animations, and what a renderer takes from them: all of engine/play, and zolt/model.h.

#include "engine/play/animplayer.h"
#include "engine/play/bounds.h"
#include "engine/play/evaluatemany.h"
#include "engine/play/jobpool.h"
#include "engine/play/keypair.h"
#include "engine/play/modelbounds.h"
#include "engine/play/modelinstance.h"
#include "engine/play/rendermesh.h"
#include "engine/play/rootmotion.h"
#include "engine/play/threadpool.h"
#include "zolt/model.h"
