#include "win32/scripteduser.h"

ScriptedUser& ScriptedUser::Type(int id, const std::string& text)
{
    m_Actions.emplace_back([id, text](DialogWindow& dialog) { return dialog.Type(id, text); });
    return *this;
}

ScriptedUser& ScriptedUser::SetCheck(int id, bool checked)
{
    m_Actions.emplace_back([id, checked](DialogWindow& dialog) { return dialog.SetCheck(id, checked); });
    return *this;
}

ScriptedUser& ScriptedUser::Press(int id)
{
    m_Actions.emplace_back([id](DialogWindow& dialog) { return dialog.Press(id); });
    return *this;
}

ScriptedUser& ScriptedUser::Close()
{
    m_Actions.emplace_back([](DialogWindow& dialog) { return dialog.Close(); });
    return *this;
}

ScriptedUser& ScriptedUser::Do(std::function<void(DialogWindow&)> action)
{
    m_Actions.emplace_back(
        [action = std::move(action)](DialogWindow& dialog)
        {
            action(dialog);
            return true;
        });
    return *this;
}

ScriptedUser& ScriptedUser::Answer(int answer)
{
    m_Answers.push_back(answer);
    return *this;
}

ScriptedUser& ScriptedUser::Choose(const std::string& path)
{
    m_Choices.push_back({true, path});
    return *this;
}

ScriptedUser& ScriptedUser::CancelChooser()
{
    m_Choices.push_back({false, std::string()});
    return *this;
}

void ScriptedUser::OperateDialog(DialogWindow& dialog)
{
    const size_t index = m_Dialogs.size(); // an action may open a further dialog
    m_Dialogs.push_back({dialog.GetTemplateId(), dialog.GetTitle(), dialog.GetControls(), {}});
    while (dialog.IsOpen() && !m_Actions.empty())
    {
        const auto action = m_Actions.front();
        m_Actions.pop_front();
        if (!action(dialog))
            m_FailedActions++;
    }
    m_Dialogs[index].atEnd = dialog.GetControls();
}

int ScriptedUser::AnswerMessageBox(const char* text, const char* caption, unsigned type)
{
    const bool expected = !m_Answers.empty();
    int answer = type == MB_YESNO ? IDNO : IDOK;
    if (expected)
    {
        answer = m_Answers.front();
        m_Answers.pop_front();
    }
    m_Boxes.push_back({text, caption, type, answer, expected});
    return answer;
}

bool ScriptedUser::ChooseSaveFile(SaveFileQuestion& question)
{
    Choice choice = {false, std::string()};
    if (!m_Choices.empty())
    {
        choice = m_Choices.front();
        m_Choices.pop_front();
    }
    question.chosen = choice.path;
    m_Choosers.push_back(question);
    return choice.accept;
}
