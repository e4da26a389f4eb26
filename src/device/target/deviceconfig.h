// The configuration of target access: one block of integers and strings, and its XML form.
//
// Values are read from any thread and written by the worker.
#pragma once
#include "device/queue/devicetypes.h"

#include <QString>
#include <mutex>

/// Speeds of the target interface with a meaning of their own, in place of Hz.
inline constexpr int SPEED_AUTO = 0;
inline constexpr int SPEED_ADAPTIVE = 65'535;

class CDeviceConfig {
public:
    CDeviceConfig() { Reset(); }

    void Reset();                       ///< the defaults
    int GetInt(U32 Id) const;           ///< 0 for an id that is no integer
    QString GetString(U32 Id) const;    ///< empty for an id that is no string
    /// Writes one value, with those that hang on it (the three of the speed). 0, or -1 for an unknown id.
    int SetInt(U32 Id, int Value);
    /// Cut at the length of the parameter. 0, or -1 for an unknown id.
    int SetString(U32 Id, const QString& sValue);
    /// kHz for the probe library: 0 auto, 65535 adaptive.
    U32 GetSpeedKHz() const;

    /// The XML text, rebuilt at each change.
    QString GetXml() const;
    /// What an XML text says; attributes that it does not have give the defaults of reading.
    struct XML_VALUES {
        int aInt[DCP_NUM_INT_PARAMS] = {};
        bool HasHostName = false;
        bool HasDeviceName = false;
        QString HostName;
        QString DeviceName;
    };
    /// 0, or -1 when the text is no XML.
    static int ParseXml(const QString& sXml, XML_VALUES* pValues);

    static bool IsIntParam(U32 Id);
    static bool IsStringParam(U32 Id) { return Id >= DCP_FIRST_STRING && Id < DCP_NUM_PARAMS; }

private:
    QString _BuildXml() const;

    mutable std::mutex m_Mutex;
    int m_aInt[DCP_NUM_INT_PARAMS];
    QString m_asText[DCP_NUM_PARAMS - DCP_FIRST_STRING];
    QString m_sXml;
};
