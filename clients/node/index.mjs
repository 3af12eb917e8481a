export { OrvaClient } from './lib/client.mjs';
export {
  AbortedError,
  HungUpError,
  NotRunningError,
  NotTheServiceError,
  OrvaError,
  RefusedError,
  TimeoutError,
} from './lib/errors.mjs';
