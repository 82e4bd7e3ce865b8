// Pictures that come in coding order, given out in display order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

/// Picture is a value. Places of a stream count from 0, and none is left out.
template <class Picture>
class DisplayOrder
{
public:
    void Add(int32_t Place, Picture p) { m_Waiting.emplace(Place, std::move(p)); }
    /// The next picture to be shown, when it is there.
    std::optional<Picture> Next()
    {
        const auto First = m_Waiting.begin();
        if (First == m_Waiting.end() || First->first != m_Next) return std::nullopt;
        ++m_Next;
        std::optional<Picture> p(std::move(First->second));
        m_Waiting.erase(First);
        return p;
    }
    /// Pictures that wait for one before them.
    size_t Waiting() const { return m_Waiting.size(); }

private:
    int32_t m_Next = 0;
    std::map<int32_t, Picture> m_Waiting;
};
