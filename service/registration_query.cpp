#include <algorithm>
#include <cstddef>
#include <memory>

#include "service/registration.h"
#include "service/service_identity.h"
#include "win32/service_access.h"

namespace orva_accelerator::service {

namespace {

// Array new aligns a block of bytes for any record of this size.
using ConfigBytes = std::unique_ptr<std::byte[]>;

}  // namespace

bool isServiceInstalled() {
  const win32::OpenedService service = win32::openService(kServiceName, SERVICE_QUERY_STATUS);
  if (!service) return false;
  SERVICE_STATUS status = {};
  return QueryServiceStatus(service.get(), &status) != FALSE;
}

bool queryServiceConfig(QUERY_SERVICE_CONFIGW*& config) {
  config = nullptr;
  const win32::OpenedService service = win32::openService(kServiceName, SERVICE_QUERY_CONFIG);
  if (!service) return false;

  DWORD size = 0;
  // Fails by design: there is no room. What counts is whether it told the size.
  (void)QueryServiceConfigW(service.get(), nullptr, 0, &size);
  const DWORD error = GetLastError();
  if (size == 0 && error != ERROR_INSUFFICIENT_BUFFER) return false;

  // Never less than the record itself, whatever size was reported: callers read its fields.
  const std::size_t capacity = std::max<std::size_t>(size, sizeof(QUERY_SERVICE_CONFIGW));
  ConfigBytes bytes = std::make_unique<std::byte[]>(capacity);
  auto* record = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(bytes.get());
  if (!QueryServiceConfigW(service.get(), record, size, &size)) return false;
  // The caller's from now on, under the name below.
  (void)bytes.release();
  config = record;
  return true;
}

void releaseServiceConfig(QUERY_SERVICE_CONFIGW* config) {
  const ConfigBytes bytes(reinterpret_cast<std::byte*>(config));
}

}  // namespace orva_accelerator::service
