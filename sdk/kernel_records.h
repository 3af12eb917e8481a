// The records that the library and the service exchange, byte for byte as the library lays them
// out: packed, little-endian, texts as UTF-16 units terminated within their array.
//
// The service zeroes every record before the call that fills it. What the numbered fields mean is
// the library's business; the service passes them on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::sdk {

static_assert(sizeof(wchar_t) == 2);

#pragma pack(push, 1)

// Kernel_GetAccelData.
struct AccelDataRecord {
  std::uint32_t value1;
  std::uint32_t value2;
  wchar_t text1[255];
  std::uint32_t value3;
  wchar_t text2[255];
  wchar_t text3[255];
  wchar_t text4[255];
  std::uint32_t value4;
  wchar_t text5[255];
  std::uint8_t flag;
  std::uint32_t value5;
  std::uint32_t value6;
  std::uint32_t value7;
  std::uint64_t value8;
  std::uint32_t value9;
  std::uint32_t value10;
};

// Kernel_GetConsoleData.
struct ConsoleDataRecord {
  std::uint32_t console1;
  std::uint32_t console2;
  std::uint32_t console3;
  std::uint32_t console4;
  std::uint32_t console5;
  std::uint8_t consoleFlag;
};

// Kernel_GetTestSpeedData_V2: the summary, and each element of the entry array.
struct TestSpeedSummary {
  std::uint32_t summary[14];  // summary1 to summary14; the first is read as signed.
};
struct TestSpeedEntry {
  std::uint32_t words[4];
};

// What these four hold begins at even offsets: they may be packed to 2, and their texts be read
// where they are.
#pragma pack(push, 2)

// Kernel_GetGameDataFromGameID.
struct GameDataRecord {
  std::uint32_t number;
  wchar_t gameText[255];
};

// Elements of the array of Kernel_GetGameServerDataList.
struct ServerRecord {
  wchar_t serverKey[256];
  wchar_t serverText[256];
};

// Elements of the array of Kernel_GetGameNodeDataList.
struct NodeRecord {
  std::uint32_t nodeId;
  wchar_t nodeText[256];
  std::uint32_t nodeValue1;
  std::uint32_t nodeValue2;
  std::uint32_t nodeValue3;
};

// Elements of the array of Kernel_GetGameUsedNodeDataList.
struct UsedNodeRecord {
  std::uint32_t used1;
  std::uint32_t used2;
  wchar_t usedText1[256];
  std::uint32_t used3;
  wchar_t usedText2[256];
  std::uint64_t used4;
};

#pragma pack(pop)

// What the library hands to the completion function of a start. Texts may be null.
struct KernelAccelResult {
  std::uint32_t value1;
  std::uint32_t value2;
  const wchar_t* text1;
  std::uint32_t value3;
  std::uint32_t value4;
  std::uint32_t state;  // 4: accelerating; 5, 6, 7: ended or failed; others: progress.
  std::uint32_t value5;
  const wchar_t* text2;
};

#pragma pack(pop)

static_assert(sizeof(AccelDataRecord) == 2595);
static_assert(offsetof(AccelDataRecord, value1) == 0);
static_assert(offsetof(AccelDataRecord, value2) == 4);
static_assert(offsetof(AccelDataRecord, text1) == 8);
static_assert(offsetof(AccelDataRecord, value3) == 518);
static_assert(offsetof(AccelDataRecord, text2) == 522);
static_assert(offsetof(AccelDataRecord, text3) == 1032);
static_assert(offsetof(AccelDataRecord, text4) == 1542);
static_assert(offsetof(AccelDataRecord, value4) == 2052);
static_assert(offsetof(AccelDataRecord, text5) == 2056);
static_assert(offsetof(AccelDataRecord, flag) == 2566);
static_assert(offsetof(AccelDataRecord, value5) == 2567);
static_assert(offsetof(AccelDataRecord, value6) == 2571);
static_assert(offsetof(AccelDataRecord, value7) == 2575);
static_assert(offsetof(AccelDataRecord, value8) == 2579);
static_assert(offsetof(AccelDataRecord, value9) == 2587);
static_assert(offsetof(AccelDataRecord, value10) == 2591);

static_assert(sizeof(ConsoleDataRecord) == 21);
static_assert(offsetof(ConsoleDataRecord, console1) == 0);
static_assert(offsetof(ConsoleDataRecord, console2) == 4);
static_assert(offsetof(ConsoleDataRecord, console3) == 8);
static_assert(offsetof(ConsoleDataRecord, console4) == 12);
static_assert(offsetof(ConsoleDataRecord, console5) == 16);
static_assert(offsetof(ConsoleDataRecord, consoleFlag) == 20);

static_assert(sizeof(TestSpeedSummary) == 56);
static_assert(offsetof(TestSpeedSummary, summary) == 0);

static_assert(sizeof(TestSpeedEntry) == 16);
static_assert(offsetof(TestSpeedEntry, words) == 0);

static_assert(sizeof(GameDataRecord) == 514);
static_assert(offsetof(GameDataRecord, number) == 0);
static_assert(offsetof(GameDataRecord, gameText) == 4);

static_assert(sizeof(ServerRecord) == 1024);
static_assert(offsetof(ServerRecord, serverKey) == 0);
static_assert(offsetof(ServerRecord, serverText) == 512);

static_assert(sizeof(NodeRecord) == 528);
static_assert(offsetof(NodeRecord, nodeId) == 0);
static_assert(offsetof(NodeRecord, nodeText) == 4);
static_assert(offsetof(NodeRecord, nodeValue1) == 516);
static_assert(offsetof(NodeRecord, nodeValue2) == 520);
static_assert(offsetof(NodeRecord, nodeValue3) == 524);

static_assert(sizeof(UsedNodeRecord) == 1044);
static_assert(offsetof(UsedNodeRecord, used1) == 0);
static_assert(offsetof(UsedNodeRecord, used2) == 4);
static_assert(offsetof(UsedNodeRecord, usedText1) == 8);
static_assert(offsetof(UsedNodeRecord, used3) == 520);
static_assert(offsetof(UsedNodeRecord, usedText2) == 524);
static_assert(offsetof(UsedNodeRecord, used4) == 1036);  // Not a multiple of 8.

static_assert(sizeof(KernelAccelResult) == 40);
static_assert(offsetof(KernelAccelResult, value1) == 0);
static_assert(offsetof(KernelAccelResult, value2) == 4);
static_assert(offsetof(KernelAccelResult, text1) == 8);
static_assert(offsetof(KernelAccelResult, value3) == 16);
static_assert(offsetof(KernelAccelResult, value4) == 20);
static_assert(offsetof(KernelAccelResult, state) == 24);
static_assert(offsetof(KernelAccelResult, value5) == 28);
static_assert(offsetof(KernelAccelResult, text2) == 32);

}  // namespace orva_accelerator::sdk
