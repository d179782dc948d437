// What reader and writer of model files have in common: names, versions, and the least that a record takes in a file.
#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// The sections, in the order of the writer; seektosection.h tells what one looks like.
constexpr const char* SECTION_HEADER = "Header";
constexpr const char* SECTION_PIECES = "Pieces";
constexpr const char* SECTION_NODES = "Nodes";
constexpr const char* SECTION_CHILD_MODELS = "ChildModels";
constexpr const char* SECTION_ANIMATION = "Animation";
constexpr const char* SECTION_SOCKETS = "Sockets";
constexpr const char* SECTION_ANIM_BINDINGS = "AnimBindings";

constexpr uint32_t MODEL_OLDEST_VERSION = 9;
constexpr uint32_t MODEL_NEWEST_VERSION = 12; // and the one that is written
constexpr uint32_t HEADER_RESERVED_BYTES = 62;

// Bytes, with names and lists empty.
constexpr uint32_t DISK_TRI = 30;
constexpr uint32_t DISK_VERT = 28;
constexpr uint32_t DISK_WEIGHT = 20;
constexpr uint32_t DISK_MESH = 8;
constexpr uint32_t DISK_PIECE = 14;
constexpr uint32_t DISK_NODE = 73;
constexpr uint32_t DISK_WEIGHTSET = 6;
constexpr uint32_t DISK_ANIM = 18;
constexpr uint32_t DISK_KEY = 6;      // a key time
constexpr uint32_t DISK_NODEKEY = 28; // a key of a track, or a relation
constexpr uint32_t DISK_BINDING = 26;
constexpr uint32_t DISK_SOCKET = 34;

ZOLT_END_NAMESPACE
