// A client of the Orva Accelerator Service. What the fields mean is told in docs/protocol.md; their names
// are those of that page.

export interface Limits {
  /** In milliseconds; counts everything, waiting for the connection included. */
  timeoutMs?: number;
  signal?: AbortSignal;
}

export interface ConnectOptions extends Limits {
  /** Other than 0, and used by no other program. Default: the process id. */
  clientId?: number;
  /** How long to try to come back when the push connection has ended. 0: not at all. Default: 30000. */
  reconnectMs?: number;
  /**
   * Called when the client is registered again. Initialisation, login and acceleration live in the
   * service's process: ask MsgSdkIsInitialised, and begin anew if it says 0. If it throws, the client is
   * closed with that error.
   */
  onReconnected?: (client: OrvaClient) => Promise<void>;
  /** Paths, for tests. */
  requestPipe?: string;
  pushPipe?: string;
}

export interface Game {
  gameId: number;
}

export interface Start {
  startArg1: number;
  startArg2: number;
  startText: string;
  startArg3: number;
  /** "", "auto", or 32-bit integers separated by ";". Anything else is a RangeError. */
  nodeSelection: string;
}

export interface AccelResult {
  value1: number;
  value2: number;
  text1: string;
  value3: number;
  /** 4: accelerating. 5, 6, 7: ended or failed. All others: progress. */
  state: number;
  value4: number;
  value5: number;
  text2: string;
}

export interface StopResult {
  success: number;
  code: number;
  text: string;
}

export interface LoginResult {
  code: number;
  text: string;
}

interface NotificationHead {
  /** Whose request is answered: every client gets every notification. */
  clientId: number;
  timestamp: number;
}

export type Notification = NotificationHead &
  (
    | { type: 4096; message: 'NotifyStartAccel'; values: AccelResult }
    | { type: 4097; message: 'NotifyStartAccelEx'; values: AccelResult }
    | { type: 4098; message: 'NotifyStopAccel'; values: StopResult }
    | { type: 4099; message: 'NotifyUserLogin'; values: LoginResult }
    /** Of a type that this version does not know. */
    | { type: number; message?: undefined; values?: undefined; payload: Uint8Array }
  );

type None = Record<string, never>;

/** Request and answer, by the name of the request. */
export interface Messages {
  MsgSdkInit: [{ channelId: number; channelNumber: number; channelName: string }, { result: number }];
  MsgUserLogin: [{ account: string; credential: string }, { result: number }];
  MsgSdkRelease: [None, { result: number }];
  MsgSdkIsInitialised: [None, { initialised: number }];
  MsgStartAccel: [Start, { accepted: number }];
  MsgStartAccelEx: [Start & { startArg4: number }, { accepted: number }];
  MsgStopAccel: [None, { result: number }];
  MsgQueryAccelOwner: [None, { anyAcceleration: number; ownedByCaller: number }];
  MsgGetAccelData: [
    None,
    {
      value1: number;
      value2: number;
      value3: number;
      value4: number;
      value5: number;
      value6: number;
      value8: bigint;
      value9: number;
      value10: number;
      text3: string;
    },
  ];
  MsgGetGameLastAccelInfo: [
    Game,
    {
      status: number;
      areaId: number;
      nodeId: number;
      infoFlag: number;
      infoValue: number;
      infoText: string;
      serverKey: string;
    },
  ];
  MsgGetGameAccelInfo: [
    Game,
    {
      status: number;
      gameId: number;
      areaId: number;
      nodeId: number;
      infoFlag: number;
      infoValue: number;
      reservedWord: number;
      reservedLong: bigint;
      nodeValue1: number;
      nodeValue2: number;
      gameText: string;
      infoText: string;
      serverKey: string;
      serverText: string;
      nodeText: string;
    },
  ];
  MsgGetTestSpeedData: [
    { gameId: number; areaId: number; serverKey: string; testOption: number },
    { status: number; summary: number[] },
  ];
  MsgGetConsoleData: [
    None,
    {
      status: number;
      console1: number;
      console2: number;
      console3: number;
      console4: number;
      console5: number;
      consoleFlag: number;
    },
  ];
  MsgGetGameUsedNodeList: [
    Game,
    {
      status: number;
      count: number;
      nodes: {
        used1: number;
        used2: number;
        used3: number;
        used4: bigint;
        usedText1: string;
        usedText2: string;
      }[];
    },
  ];
  MsgClientLeaving: [None, { lastClient: number; remainingClients: number }];
  MsgHeartbeat: [None, { monotonicMs: number }];
}

export class OrvaClient {
  private constructor();

  /**
   * Registers for notifications, and waits until the service knows of it. The timeout is also that of
   * later calls that name none; default: 10000.
   */
  static connect(options?: ConnectOptions): Promise<OrvaClient>;

  readonly clientId: number;

  /**
   * The answer to one request, whatever it says. Calls may overlap: the requests go out one after the
   * other. One that is given up while it is under way costs the request connection, which the next call
   * opens anew.
   */
  request<Name extends keyof Messages>(
    name: Name,
    values?: Messages[Name][0],
    limits?: Limits,
  ): Promise<Messages[Name][1]>;

  /**
   * All notifications from this call on, whoever's they are. Goes on when the client has reconnected, ends
   * when it is closed, and throws when it cannot come back. What is not read is kept: break out of the
   * loop when you are done.
   */
  notifications(options?: { signal?: AbortSignal }): AsyncIterableIterator<Notification>;

  /** Asks, and waits for the outcome. A RefusedError has in `answer` what came instead of a success. */
  login(values: Messages['MsgUserLogin'][0], limits?: Limits): Promise<LoginResult>;
  /** With `startArg4` it is the extended start, which stops first what runs. */
  start(
    values: Start & { startArg4?: number },
    options?: Limits & { onProgress?: (result: AccelResult) => void },
  ): Promise<AccelResult>;
  stop(limits?: Limits): Promise<StopResult>;

  /** Says goodbye and closes. The service ends when the last client has left. */
  leave(limits?: Limits): Promise<Messages['MsgClientLeaving'][1]>;

  /** Ends requests under way (HungUpError) and all iterators. */
  close(): void;
}

/** The others tell what to do about it; this one itself is any other failure of the system. */
export class OrvaError extends Error {}
/** Nobody serves the pipes: start the service. Known after a second. */
export class NotRunningError extends OrvaError {
  readonly code: 'ORVA_NOT_RUNNING';
}
/** What came does not keep to the protocol. Never tried again. */
export class NotTheServiceError extends OrvaError {
  readonly code: 'ORVA_NOT_THE_SERVICE';
}
/** The service ended the connection. Whether it has carried out the request is not known. */
export class HungUpError extends OrvaError {
  readonly code: 'ORVA_HUNG_UP';
}
/** Whether the request is still carried out is not known. */
export class TimeoutError extends OrvaError {
  readonly code: 'ORVA_TIMEOUT';
}
/** The service or the library said no, or this account may not open the pipes. */
export class RefusedError extends OrvaError {
  readonly code: 'ORVA_REFUSED';
  readonly answer: unknown;
}
/** The caller's own signal; `cause` is its reason. */
export class AbortedError extends OrvaError {
  readonly code: 'ORVA_ABORTED';
  readonly name: 'AbortError';
}
