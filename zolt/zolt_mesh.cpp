#include "zolt/handles.h"

#include <new>

zolt_mesh* zolt_mesh_build(const zolt_model* model, uint32_t piece, uint32_t lod, const zolt_mesh_options* options)
{
    zolt_mesh_options chosen = {};
    if (!CheckHandle(model, "the model") || !ReadStruct(options, chosen) ||
        !CheckIndex(piece, model->m_Model.NumPieces(), "piece") || !CheckIndex(lod, model->m_Model.NumLODs(), "LOD"))
        return nullptr;
    zolt::RenderMeshOptions build;
    build.m_nShares = chosen.num_shares != 0 ? chosen.num_shares : 4;
    build.m_ShareFormat = chosen.byte_shares ? zolt::ShareFormat::BYTES : zolt::ShareFormat::FLOATS;
    build.m_pOrder = chosen.order;
    if (build.m_nShares != 4 && build.m_nShares != 8)
    {
        SetZoltError("%u shares a vertex, and 4 or 8 can be", build.m_nShares);
        return nullptr;
    }
    std::unique_ptr<zolt_mesh> pMesh(new (std::nothrow) zolt_mesh);
    if (!pMesh || !zolt::BuildRenderMesh(*model->m_Model.GetPiece(piece), lod, build, pMesh->m_Mesh))
    {
        SetZoltError("out of memory, or an order that gives indices out of range");
        return nullptr;
    }
    AddHandle(pMesh.get());
    return pMesh.release();
}

void zolt_mesh_free(zolt_mesh* mesh)
{
    if (!mesh || !CheckHandle(mesh, "the mesh"))
        return;
    RemoveHandle(mesh);
    delete mesh;
}

int zolt_mesh_get(const zolt_mesh* mesh, zolt_mesh_info* out)
{
    if (!CheckHandle(mesh, "the mesh"))
        return 0;
    const zolt::RenderMesh& from = mesh->m_Mesh;
    zolt_mesh_info info = {};
    info.vertices = from.m_Vertices.data();
    info.indices = from.m_Indices.data();
    info.source_vertices = from.m_SourceVert.data();
    info.num_vertices = from.m_nVertices;
    info.stride = from.m_Stride;
    info.num_indices = from.m_nIndices;
    info.index_size = from.m_IndexSize;
    info.num_shares = from.m_nShares;
    info.normal_offset = zolt::RenderMesh::NORMAL_OFFSET;
    info.texture_offset = zolt::RenderMesh::TEXTURE_OFFSET;
    info.nodes_offset = zolt::RenderMesh::NODES_OFFSET;
    info.shares_offset = from.m_SharesOffset;
    info.byte_shares = from.m_ShareFormat == zolt::ShareFormat::BYTES;
    info.num_cut_shares = from.m_nCutShares;
    return WriteStruct(info, out);
}
