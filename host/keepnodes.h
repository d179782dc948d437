// Nodes that a fresh export must not remove, whatever they are called.
#pragma once

#include "saa/recordedscene.h"

#include <string>
#include <vector>

// An exporter keeps a node whose name ends with a wish. The wish is told to it alone: it goes into the names of the
// recorded scene, and is taken out of the model file again.
class KeepWishes
{
public:
    // Finds the elements whose names fit one of the shell patterns, ignoring case. The root stays in any case, and so
    // does what has the wish in its own name; they aren't among them. `recorded` must outlive this.
    KeepWishes(RecordedScene& recorded, const std::vector<std::string>& patterns);

    // The patterns that fit no element at all.
    const std::vector<std::string>& Unused() const { return m_Unused; }
    // By node of the scene: whether one of its elements is wished for.
    std::vector<bool> Nodes() const;
    bool IsEmpty() const { return m_Elements.empty(); }

    // Makes the wishes, or takes them back: a node that a model doesn't have couldn't leave in an append.
    void Tell(bool wished);

    // The text with the names as they are.
    std::string CleanText(const std::string& text) const;
    // Gives the nodes and pieces of a model file their names back. False with a sentence in `error` if the file can't
    // be read or written.
    bool CleanModel(const std::string& file, std::string& error) const;

private:
    RecordedScene& m_Recorded;
    std::vector<int> m_Elements;
    std::vector<std::string> m_Unused;
};
