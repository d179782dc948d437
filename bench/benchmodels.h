#pragma once

// Models of a wanted size, made from nothing.

#include <string>

#include "tools/model/convmodel.h"

// Nodes of which each has nChildren children, in breadth-first order.
void BuildNodes(ConvModel& model, uint32_t nNodes, uint32_t nChildren);

// An animation of all nodes, behind those that are there. The model's table of animations must have a row for it that
// is still empty: iAnim.
void BuildClip(ConvModel& model, uint32_t iAnim, const std::string& name, uint32_t nKeys);

// BuildNodes, and one animation.
void BuildSkeleton(ConvModel& model, uint32_t nNodes, uint32_t nChildren, uint32_t nKeys);

// A waved sheet of about 60,000 triangles. With bShared the quads share their vertices; otherwise each has its own four
// and there are half as many, and merging is to find them. Every vertex has two weights.
void BuildMesh(ConvModel& model, bool bShared);

// Pieces of nVerts vertices with two weights each and nTris triangles.
void BuildPieces(ConvModel& model, uint32_t nPieces, uint32_t nVerts, uint32_t nTris);

// A sheet on 60 nodes with 300 keys.
void BuildFigure(ConvModel& model);
