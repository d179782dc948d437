#pragma once

#include "zolt/play.h"

#include <cstdint>
#include <string>
#include <vector>

// Draws figures of one model with OpenGL 3.3: buffers and textures of the model are made once, and each figure brings
// its skin matrices. It needs no window and no screen: pictures are drawn into memory, by whatever driver EGL finds.
class FigureRenderer
{
public:
    FigureRenderer() = default;
    ~FigureRenderer();
    FigureRenderer(const FigureRenderer&) = delete;
    FigureRenderer& operator=(const FigureRenderer&) = delete;

    // False, and why in GetError(), without EGL, OpenGL 3.3 or memory.
    bool Init(const zolt::Model& model, uint32_t width, uint32_t height);

    // Begins a picture.
    void Clear();
    // World space to clip space, for column vectors.
    void Draw(const zolt::ModelInstance& figure, const zolt::Matrix4& view);
    // Rows from top to bottom, 4 bytes a pixel: red, green, blue, and 0 where nothing was drawn. False after an error.
    bool GetPicture(std::vector<uint8_t>& pixels);

    const std::string& GetError() const { return m_Error; }
    // The driver: "llvmpipe ...".
    std::string GetDriver() const;

private:
    struct Mesh
    {
        uint32_t m_VertexArray = 0;
        uint32_t m_Buffers[2] = {}; // vertices, indices
        uint32_t m_nIndices = 0;
        uint32_t m_IndexType = 0;
    };

    bool Fail(const char* pText);
    bool InitContext();
    bool InitTarget();
    bool InitProgram();
    bool AddMesh(zolt::ModelPiece& piece);

    void* m_pDisplay = nullptr;
    void* m_pContext = nullptr;
    uint32_t m_Width = 0, m_Height = 0;
    uint32_t m_Framebuffer = 0, m_Renderbuffers[2] = {}, m_Program = 0;
    uint32_t m_MatrixBuffer = 0, m_MatrixTexture = 0;
    int m_ViewPlace = -1, m_ColourPlace = -1;
    std::vector<Mesh> m_Meshes;
    std::vector<float> m_Matrices;
    std::string m_Error;
};
