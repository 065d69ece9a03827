#pragma once

#include "Common/Src/RavRegKey.h"

// Writes several values of one key in order. After the first that fails it writes no more.
class CRavValueWriter
{
  public:
    explicit CRavValueWriter(CRavRegKey& key) : m_key(key) {}
    CRavValueWriter& Number(const CRavString& name, DWORD value)
    {
        return Keep(name, m_done && m_key.SetValue(name, value));
    }
    CRavValueWriter& Text(const CRavString& name, const CRavString& value)
    {
        return Keep(name, m_done && m_key.SetValue(name, value, false));
    }
    bool Done() const { return m_done; }
    // The name of the value that failed; empty when none has.
    const CRavString& Failed() const { return m_strFailed; }

  private:
    CRavValueWriter& Keep(const CRavString& name, bool done)
    {
        if (m_done && !done)
            m_strFailed = name;
        m_done = done;
        return *this;
    }

    CRavRegKey& m_key;
    CRavString m_strFailed;
    bool m_done = true;
};
