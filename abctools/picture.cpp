#include "abctools/picture.h"

#include "abctools/pose.h"
#include "abctools/posedmesh.h"
#include "abctools/rasteriser.h"
#include "engine/model/src/model.h"

#include <algorithm>
#include <cmath>

namespace
{

// Looks along one direction at a target, from as far as it takes to see all that it is told of.
class PictureCamera
{
public:
    PictureCamera(uint32_t width, uint32_t height)
        : m_Width(static_cast<float>(width)), m_Height(static_cast<float>(height))
    {
    }

    void LookAt(const Vector3& vTarget) { m_vTarget = vTarget; }

    void Include(const Vector3& vPoint)
    {
        const float tall = std::tan(HALF_FIELD) / MARGIN, wide = tall * m_Width / m_Height;
        const Vector3 v = ToView(FromTarget(vPoint));
        m_Distance = std::max({m_Distance, v.z + std::fabs(v.x) / wide, v.z + std::fabs(v.y) / tall});
    }

    // False behind the camera.
    bool Project(const Vector3& vPoint, float left, RasterCorner& corner) const
    {
        const Vector3 v = ToView(Vector3(vPoint.x - m_vTarget.x, vPoint.y - m_vTarget.y, vPoint.z - m_vTarget.z));
        corner.m_W = m_Distance - v.z;
        const float scale = m_Height / (2.0f * std::tan(HALF_FIELD) * corner.m_W);
        corner.m_X = left + m_Width / 2.0f + v.x * scale;
        corner.m_Y = m_Height / 2.0f - v.y * scale;
        return corner.m_W > m_Distance / 1000.0f;
    }

private:
    static constexpr float HALF_FIELD = 0.279f; // 16 degrees
    static constexpr float MARGIN = 1.14f;      // room around all

    Vector3 FromTarget(const Vector3& v) const
    {
        return Vector3(v.x - m_vTarget.x, v.y - m_vTarget.y, v.z - m_vTarget.z);
    }

    // To the right, up, and towards the camera.
    static Vector3 ToView(const Vector3& v)
    {
        constexpr float TO[3] = {0.50623f, 0.27761f, 0.81649f}; // of length 1, like the next two
        constexpr float RIGHT[2] = {0.84990f, -0.52694f};       // x, z
        constexpr float UP[3] = {-0.14628f, 0.96069f, -0.23594f};
        return Vector3(RIGHT[0] * v.x + RIGHT[1] * v.z, UP[0] * v.x + UP[1] * v.y + UP[2] * v.z,
                       TO[0] * v.x + TO[1] * v.y + TO[2] * v.z);
    }

    float m_Width;
    float m_Height;
    float m_Distance = 1e-6f;
    Vector3 m_vTarget{0.0f, 0.0f, 0.0f};
};

// What an animation reaches.
struct Reach
{
    PoseBox m_Box;            // over all of it
    Vector3 m_vMost{0, 0, 0}; // the greatest size that a single pose has along each axis
    bool m_bTravels = false;  // the figure leaves its place
    bool m_bCloses = false;   // the last pose is the first again
};

} // namespace

// The mesh at a time; in the bind pose without an animation.
static bool PoseAt(Model& model, const std::string& anim, double time, bool bNormals, PosedMesh& mesh,
                   std::string& error)
{
    if (anim.empty() && model.NumAnims() == 0)
        return mesh.Init(model, nullptr, bNormals);
    PoseOptions options;
    options.m_Anim = anim;
    options.m_Time = time;
    std::vector<AnimTracker> positions;
    if (!MakePosePositions(model, options, positions, error))
        return false;
    error = "the pose can't be evaluated";
    return mesh.Init(model, positions.data(), bNormals);
}

// Times that tell what the animation reaches: its keys and the middles between them, or as many as make sense.
static std::vector<double> SampleTimes(Model& model, const std::string& name)
{
    constexpr uint32_t MOST = 120;
    const ModelAnim* pAnim = model.FindAnim(name.c_str(), nullptr, nullptr);
    std::vector<double> times = {0.0};
    const uint32_t nKeys = pAnim ? pAnim->NumKeyFrames() : 0;
    const bool bKeys = 2 * nKeys <= MOST;
    for (uint32_t i = 0; bKeys && i < nKeys; ++i)
    {
        const double time = pAnim->m_KeyFrames[i].m_Time;
        times.push_back((times.back() + time) / 2.0);
        times.push_back(time);
    }
    for (uint32_t i = 1; !bKeys && i <= MOST; ++i)
        times.push_back(static_cast<double>(pAnim->GetAnimTime()) * i / MOST);
    return times;
}

static bool FindReach(Model& model, const std::string& anim, const std::vector<double>& times,
                      const std::function<void()>& progress, Reach& reach, std::string& error)
{
    PosedMesh mesh;
    std::vector<Vector3> first;
    for (const double time : times)
    {
        progress();
        if (!PoseAt(model, anim, time, false, mesh, error))
            return false;
        const PoseBox box = mesh.Box();
        if (box.IsEmpty())
            continue;
        const Vector3 vSize = box.Size();
        reach.m_Box.Add(box);
        reach.m_vMost = Vector3(std::max(reach.m_vMost.x, vSize.x), std::max(reach.m_vMost.y, vSize.y),
                                std::max(reach.m_vMost.z, vSize.z));
        if (first.empty())
            first = mesh.m_Positions;
    }
    const Vector3 vAll = reach.m_Box.Size();
    const float across = std::max(reach.m_vMost.x, reach.m_vMost.z);
    constexpr float FAR = 1.7f, CLOSE = 0.01f;
    reach.m_bTravels = std::max(vAll.x, vAll.z) > FAR * std::max(across, reach.m_vMost.y / 2.0f);
    reach.m_bCloses = !first.empty();
    const float tolerance = CLOSE * std::max(across, reach.m_vMost.y);
    for (size_t i = 0; i < first.size(); ++i)
    {
        const Vector3 &a = first[i], &b = mesh.m_Positions[i];
        reach.m_bCloses =
            reach.m_bCloses && std::fabs(a.x - b.x) + std::fabs(a.y - b.y) + std::fabs(a.z - b.z) < tolerance;
    }
    return true;
}

// Clay in a few tints, linear.
static Vector3 PieceColor(uint32_t iPiece)
{
    static constexpr float TINTS[][3] = {{0.67f, 0.62f, 0.55f}, {0.55f, 0.60f, 0.67f}, {0.66f, 0.52f, 0.42f},
                                         {0.52f, 0.61f, 0.50f}, {0.59f, 0.51f, 0.63f}, {0.67f, 0.59f, 0.38f}};
    const auto& tint = TINTS[iPiece % std::size(TINTS)];
    return Vector3(tint[0], tint[1], tint[2]);
}

static void DrawMesh(const PosedMesh& mesh, const PictureCamera& camera, float left, Rasteriser& raster)
{
    for (const PosedMesh::Triangle& triangle : mesh.m_Triangles)
    {
        RasterCorner corners[3];
        bool bSeen = true;
        for (int i = 0; i < 3; ++i)
        {
            bSeen = camera.Project(mesh.m_Positions[triangle.m_Corners[i]], left, corners[i]) && bSeen;
            corners[i].m_vNormal = mesh.m_Normals[triangle.m_Corners[i]];
        }
        const Vector3 &p = mesh.m_Positions[triangle.m_Corners[0]], &q = mesh.m_Positions[triangle.m_Corners[1]],
                      &r = mesh.m_Positions[triangle.m_Corners[2]];
        const Vector3 u(q.x - p.x, q.y - p.y, q.z - p.z), v(r.x - p.x, r.y - p.y, r.z - p.z);
        const Vector3 vFace(u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x);
        if (bSeen)
            raster.Draw(corners, vFace, PieceColor(triangle.m_iPiece));
    }
}

// On a floor at that height, from a light straight above.
static void DrawShadow(const PosedMesh& mesh, float floor, const PictureCamera& camera, float left, Rasteriser& raster)
{
    for (const PosedMesh::Triangle& triangle : mesh.m_Triangles)
    {
        RasterCorner corners[3];
        bool bSeen = true;
        for (int i = 0; i < 3; ++i)
        {
            const Vector3& v = mesh.m_Positions[triangle.m_Corners[i]];
            bSeen = camera.Project(Vector3(v.x, floor, v.z), left, corners[i]) && bSeen;
        }
        if (bSeen)
            raster.DrawShadow(corners);
    }
}

bool DrawPicture(Model& model, const PictureOptions& options, Picture& picture, std::string& error)
{
    const bool bStrip = options.m_nStrip > 0;
    const uint32_t nPoses = std::max(options.m_nStrip, 1u);
    const uint32_t width = options.m_Width ? options.m_Width : bStrip ? 240 : 640;
    picture.m_Height = options.m_Height ? options.m_Height : bStrip ? 360 : 640;
    picture.m_Width = width * nPoses;
    std::string anim = options.m_Anim;
    if (anim.empty() && model.NumAnims() > 0)
        anim = model.GetAnim(0)->GetName();
    Reach reach;
    const std::vector<double> times = SampleTimes(model, anim);
    size_t nDone = 0; // poses: two of each time, then those that are drawn
    const auto progress = [&] { options.m_Progress(nDone++, 2 * times.size() + nPoses); };
    if (!FindReach(model, anim, times, progress, reach, error))
        return false;
    if (reach.m_Box.IsEmpty())
    {
        error = "it has neither triangles nor bones to draw";
        return false;
    }
    const ModelAnim* pAnim = model.FindAnim(anim.c_str(), nullptr, nullptr);
    const double last = pAnim ? pAnim->GetAnimTime() : 0.0;
    const auto target = [&reach](const PosedMesh& mesh)
    {
        const Vector3 vAll = reach.m_Box.Centre(), vNow = mesh.Box().Centre();
        return reach.m_bTravels ? Vector3(vNow.x, vAll.y, vNow.z) : vAll;
    };
    PosedMesh mesh;
    PictureCamera camera(width, picture.m_Height);
    for (const double time : times)
    {
        progress();
        if (!PoseAt(model, anim, time, false, mesh, error))
            return false;
        camera.LookAt(target(mesh));
        for (const PosedMesh::Triangle& triangle : mesh.m_Triangles)
        {
            for (const uint32_t corner : triangle.m_Corners)
            {
                const Vector3& v = mesh.m_Positions[corner];
                camera.Include(v);
                camera.Include(Vector3(v.x, reach.m_Box.m_Min.y, v.z)); // its shadow
            }
        }
    }
    Rasteriser raster(picture.m_Width, picture.m_Height);
    for (uint32_t i = 0; i < nPoses; ++i)
    {
        // The last pose of a loop would be the first once more.
        const uint32_t nSteps = reach.m_bCloses ? nPoses : std::max(nPoses - 1, 1u);
        progress();
        const double time = bStrip ? last * i / nSteps : std::clamp(options.m_Time, 0.0, last);
        if (!PoseAt(model, anim, time, true, mesh, error))
            return false;
        picture.m_Times.push_back(time);
        camera.LookAt(target(mesh));
        const float left = static_cast<float>(width * i);
        DrawShadow(mesh, reach.m_Box.m_Min.y, camera, left, raster);
        DrawMesh(mesh, camera, left, raster);
    }
    raster.BlurShadow(0.008f * static_cast<float>(std::min(width, picture.m_Height)));
    picture.m_Pixels = raster.Resolve(Vector3(0.90f, 0.91f, 0.93f), Vector3(0.68f, 0.71f, 0.75f), 0.45f);
    return true;
}
