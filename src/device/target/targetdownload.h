// Writing of a whole file: the jobs that follow each other. GUI thread.
//
//   DEVICE_ScheduleDownload(Blocks, "/home/me/blinky.elf", DM_PROGRAM, nullptr);
//   ... OnDeviceEndDownloadDone or OnDeviceEndDownloadFailed
#pragma once
#include "device/queue/deviceeventlistener.h"
#include "device/target/memblock.h"

#include <QList>

/// Schedules one write of all blocks, the end of the download, and a read of each block, which fills the memory
/// image and is answered to pReader's OnDeviceReadMemDone. 0, or -1 when there is nothing to write, when the data
/// exceed the limit of a job, or when a queue is full.
int DEVICE_ScheduleDownload(const QList<CMemBlock>& Blocks, const char* sFilePath, DOWNLOAD_MODES Mode,
                            const char* sZone, CDeviceEventListener* pReader);
