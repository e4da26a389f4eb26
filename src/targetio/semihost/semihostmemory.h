// Target memory for semihosting operations: straight through the probe library, as the worker holds the target
// halted. Words are in the target's byte order. All give 0 or -1. Device worker.
#pragma once
#include "app/services/types.h"

#include <QByteArray>

int SEMIHOST_ReadWords(U32 Addr, U32 Count, U32* paValue);
int SEMIHOST_ReadByte(U32 Addr, U8* pValue);
int SEMIHOST_ReadBytes(U32 Addr, U32 Size, QByteArray* pData);
int SEMIHOST_WriteWord(U32 Addr, U32 Value);
int SEMIHOST_WriteBytes(U32 Addr, const QByteArray& Data);
