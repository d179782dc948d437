// What the tests of whole exports share: a scene that is open in the host, a user in front of the dialog, a folder, a
// settings store in memory and a log of their own.
#pragma once

#include "engine/model/src/model.h"
#include "saa/saahost.h"
#include "tests/tools/model/kelpexport/testscene.h"
#include "tests/win32/temporaryfolder.h"
#include "tools/model/kelpexport/exportdialog.h"
#include "tools/model/kelpexport/init.h"
#include "win32/registrystore.h"
#include "win32/scripteduser.h"
#include "win32/stateplaces.h"

#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>

std::string ReadWholeFile(const std::string& path);
void WriteWholeFile(const std::string& path, const std::string& bytes);

// A model from a file; null, with a failure, if it doesn't load.
std::unique_ptr<Model> LoadModelFile(const std::string& path);

class ExportTest : public testing::Test
{
protected:
    ExportTest();
    ~ExportTest() override;

    // The first clip at 10 frames per second, if there is one.
    void OpenScene(const Scene& scene);
    void OpenScene(const Scene& scene, const RecordedSceneOptions& options);

    // Runs an export to m_Path: fills the dialog, answers boxes, and leaves what the user saw in m_User.
    int Export(const std::string& animName, bool bForce, const std::vector<int>& answers = {}, bool bDebug = false);
    // The texts of the boxes of the last export, each followed by a '|'.
    std::string Boxes() const;
    std::string Log() const { return ReadWholeFile(m_Log); }

    TemporaryFolder m_Folder;
    std::string m_Path = m_Folder / "model.abc";
    std::string m_Log = m_Folder / "log.txt";
    ScriptedUser m_User;
    std::vector<std::string> m_Status; // texts of the status bar, of all exports

    Scene m_Scene;
    std::unique_ptr<RecordedScene> m_pRecorded;
};
