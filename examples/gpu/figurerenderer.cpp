#include "figurerenderer.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/glcorearb.h>

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <meshoptimizer.h>

// A node's skin matrix is three texels: its three upper rows. The sum of the matrices by their shares takes the vertex
// to its place, and the normal to its direction.
static const char* VERTEX_SHADER = R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec2 texture0;
layout(location = 3) in uvec4 nodes;
layout(location = 4) in vec4 shares;
uniform samplerBuffer skin;
uniform mat4 view;
out vec3 worldNormal;
out vec2 uv;
void main()
{
    mat3x4 rows = mat3x4(0.0);
    for (int i = 0; i < 4; ++i)
    {
        int first = 3 * int(nodes[i]);
        rows += shares[i] * mat3x4(texelFetch(skin, first), texelFetch(skin, first + 1), texelFetch(skin, first + 2));
    }
    gl_Position = view * vec4(vec4(position, 1.0) * rows, 1.0);
    worldNormal = vec4(normal, 0.0) * rows;
    uv = texture0;
}
)";

static const char* FRAGMENT_SHADER = R"(#version 330 core
in vec3 worldNormal;
in vec2 uv;
uniform vec3 colour;
out vec4 pixel;
void main()
{
    float light = 0.35 + 0.65 * max(dot(normalize(worldNormal), normalize(vec3(0.4, 0.7, 0.6))), 0.0);
    float check = mod(floor(uv.x * 8.0) + floor(uv.y * 8.0), 2.0);
    pixel = vec4(colour * light * (0.85 + 0.15 * check), 1.0);
}
)";

bool FigureRenderer::Fail(const char* pText)
{
    m_Error = pText;
    return false;
}

FigureRenderer::~FigureRenderer()
{
    if (!m_pDisplay)
        return;
    // With the context goes all that was made in it.
    eglMakeCurrent(m_pDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (m_pContext)
        eglDestroyContext(m_pDisplay, m_pContext);
    eglTerminate(m_pDisplay);
}

bool FigureRenderer::Init(const zolt::Model& model, uint32_t width, uint32_t height)
{
    m_Width = width;
    m_Height = height;
    if (!InitContext() || !InitTarget() || !InitProgram())
        return false;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        if (!AddMesh(*model.GetPiece(i)))
            return false;
    }
    m_Matrices.resize(size_t(12) * model.NumNodes());
    glGenBuffers(1, &m_MatrixBuffer);
    glBindBuffer(GL_TEXTURE_BUFFER, m_MatrixBuffer);
    glGenTextures(1, &m_MatrixTexture);
    glBindTexture(GL_TEXTURE_BUFFER, m_MatrixTexture);
    glTexBuffer(GL_TEXTURE_BUFFER, GL_RGBA32F, m_MatrixBuffer);
    return glGetError() == GL_NO_ERROR || Fail("OpenGL refused a buffer");
}

bool FigureRenderer::InitContext()
{
    const auto pGetDisplay =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    m_pDisplay = pGetDisplay ? pGetDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr) : nullptr;
    if (!m_pDisplay || !eglInitialize(m_pDisplay, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_API))
        return Fail("there is no EGL without a screen");
    const EGLint wanted[] = {
        EGL_CONTEXT_MAJOR_VERSION,           3,       EGL_CONTEXT_MINOR_VERSION, 3, EGL_CONTEXT_OPENGL_PROFILE_MASK,
        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
    m_pContext = eglCreateContext(m_pDisplay, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, wanted);
    if (!m_pContext || !eglMakeCurrent(m_pDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, m_pContext))
        return Fail("there is no OpenGL 3.3");
    return true;
}

bool FigureRenderer::InitTarget()
{
    glGenFramebuffers(1, &m_Framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, m_Framebuffer);
    glGenRenderbuffers(2, m_Renderbuffers);
    const GLenum formats[] = {GL_RGBA8, GL_DEPTH_COMPONENT24}, places[] = {GL_COLOR_ATTACHMENT0, GL_DEPTH_ATTACHMENT};
    for (int i = 0; i < 2; ++i)
    {
        glBindRenderbuffer(GL_RENDERBUFFER, m_Renderbuffers[i]);
        glRenderbufferStorage(GL_RENDERBUFFER, formats[i], static_cast<GLsizei>(m_Width),
                              static_cast<GLsizei>(m_Height));
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, places[i], GL_RENDERBUFFER, m_Renderbuffers[i]);
    }
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
        return Fail("a picture of that size can't be drawn");
    glViewport(0, 0, static_cast<GLsizei>(m_Width), static_cast<GLsizei>(m_Height));
    glEnable(GL_DEPTH_TEST);
    return true;
}

static GLuint Compile(GLenum kind, const char* pSource, std::string& error)
{
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &pSource, nullptr);
    glCompileShader(shader);
    char log[1024] = {};
    GLint bCompiled = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &bCompiled);
    glGetShaderInfoLog(shader, sizeof(log), nullptr, log);
    if (!bCompiled)
        error = log;
    return shader;
}

bool FigureRenderer::InitProgram()
{
    m_Program = glCreateProgram();
    glAttachShader(m_Program, Compile(GL_VERTEX_SHADER, VERTEX_SHADER, m_Error));
    glAttachShader(m_Program, Compile(GL_FRAGMENT_SHADER, FRAGMENT_SHADER, m_Error));
    if (!m_Error.empty())
        return false;
    glLinkProgram(m_Program);
    GLint bLinked = 0;
    glGetProgramiv(m_Program, GL_LINK_STATUS, &bLinked);
    if (!bLinked)
        return Fail("the shaders don't go together");
    m_ViewPlace = glGetUniformLocation(m_Program, "view");
    m_ColourPlace = glGetUniformLocation(m_Program, "colour");
    glUseProgram(m_Program);
    return true;
}

// The layout of a render mesh, in OpenGL's words.
bool FigureRenderer::AddMesh(zolt::ModelPiece& piece)
{
    zolt::RenderMesh built;
    const auto Order = [](uint32_t* p, size_t n, size_t nVertices) { meshopt_optimizeVertexCache(p, p, n, nVertices); };
    if (!zolt::BuildRenderMesh(piece, 0, {4, zolt::ShareFormat::BYTES, Order}, built))
        return Fail("out of memory");
    if (built.m_nIndices == 0)
        return true;
    Mesh mesh;
    mesh.m_nIndices = built.m_nIndices;
    mesh.m_IndexType = built.m_IndexSize == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT;
    glGenVertexArrays(1, &mesh.m_VertexArray);
    glBindVertexArray(mesh.m_VertexArray);
    glGenBuffers(2, mesh.m_Buffers);
    glBindBuffer(GL_ARRAY_BUFFER, mesh.m_Buffers[0]);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(built.m_Vertices.size()), built.m_Vertices.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh.m_Buffers[1]);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(built.m_Indices.size()), built.m_Indices.data(),
                 GL_STATIC_DRAW);
    const auto Offset = [](uint32_t offset) { return reinterpret_cast<const void*>(uintptr_t{offset}); };
    const GLsizei stride = static_cast<GLsizei>(built.m_Stride);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, stride, Offset(zolt::RenderMesh::POSITION_OFFSET));
    glVertexAttribPointer(1, 3, GL_FLOAT, GL_FALSE, stride, Offset(zolt::RenderMesh::NORMAL_OFFSET));
    glVertexAttribPointer(2, 2, GL_FLOAT, GL_FALSE, stride, Offset(zolt::RenderMesh::TEXTURE_OFFSET));
    glVertexAttribIPointer(3, 4, GL_UNSIGNED_SHORT, stride, Offset(zolt::RenderMesh::NODES_OFFSET));
    glVertexAttribPointer(4, 4, GL_UNSIGNED_BYTE, GL_TRUE, stride, Offset(built.m_SharesOffset));
    for (GLuint i = 0; i < 5; ++i)
        glEnableVertexAttribArray(i);
    m_Meshes.push_back(mesh);
    return glGetError() == GL_NO_ERROR || Fail("OpenGL refused a buffer");
}

void FigureRenderer::Clear()
{
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void FigureRenderer::Draw(const zolt::ModelInstance& figure, const zolt::Matrix4& view)
{
    if (m_Matrices.size() != size_t(12) * figure.NumNodes())
        return; // of another model
    figure.GetSkinMatrices(m_Matrices.data(), zolt::MatrixLayout::ROWS_3X4);
    glBindBuffer(GL_TEXTURE_BUFFER, m_MatrixBuffer);
    glBufferData(GL_TEXTURE_BUFFER, static_cast<GLsizeiptr>(m_Matrices.size() * sizeof(float)), m_Matrices.data(),
                 GL_STREAM_DRAW);
    glBindTexture(GL_TEXTURE_BUFFER, m_MatrixTexture);
    glUniformMatrix4fv(m_ViewPlace, 1, GL_TRUE, view.m); // given row by row
    static const float colours[][3] = {{0.75f, 0.78f, 0.82f}, {0.85f, 0.55f, 0.3f}, {0.4f, 0.65f, 0.85f}};
    for (size_t i = 0; i < m_Meshes.size(); ++i)
    {
        glUniform3fv(m_ColourPlace, 1, colours[i % 3]);
        glBindVertexArray(m_Meshes[i].m_VertexArray);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(m_Meshes[i].m_nIndices), m_Meshes[i].m_IndexType, nullptr);
    }
}

bool FigureRenderer::GetPicture(std::vector<uint8_t>& pixels)
{
    const size_t row = size_t(4) * m_Width;
    pixels.resize(row * m_Height);
    // OpenGL's first row is the lowest.
    for (uint32_t y = 0; y < m_Height; ++y)
        glReadPixels(0, static_cast<GLint>(m_Height - 1 - y), static_cast<GLsizei>(m_Width), 1, GL_RGBA,
                     GL_UNSIGNED_BYTE, pixels.data() + row * y);
    return glGetError() == GL_NO_ERROR || Fail("the picture can't be read");
}

std::string FigureRenderer::GetDriver() const
{
    const GLubyte* pText = m_pContext ? glGetString(GL_RENDERER) : nullptr;
    return pText ? reinterpret_cast<const char*>(pText) : "";
}
