// A whole session with the service. Windows only.
//
//   node session.mjs ACCOUNT CREDENTIAL GAME AREA SERVER
//
// Initialises the library, logs in, accelerates until it is confirmed, shows some figures, stops and
// leaves. Prints a line for each step; ends with 1 and a reason if a step fails.
import { OrvaClient, OrvaError, RefusedError } from './index.mjs';

async function session(client, [account, credential, game, area, server]) {
  const channel = { channelId: 1, channelNumber: 0, channelName: 'official' };
  const { result } = await client.request('MsgSdkInit', channel);
  if (result !== 1) throw new RefusedError(`the acceleration library cannot be initialised: ${result}`);
  console.log('initialised');

  await client.login({ account, credential });
  console.log('logged in');

  const gameId = Number(game);
  const start = {
    startArg1: gameId,
    startArg2: Number(area),
    startArg3: 0,
    startText: server,
    nodeSelection: 'auto',
  };
  await client.start(start, {
    onProgress: ({ state, text1, text2 }) => console.log(`state ${state}: ${text1}, ${text2}`),
  });

  const { ownedByCaller } = await client.request('MsgQueryAccelOwner');
  console.log(`mine: ${ownedByCaller ? 'yes' : 'no'}`);
  const { value2, value3, text3 } = await client.request('MsgGetAccelData');
  console.log(`game ${value2}, area ${value3}, node ${text3}`);
  const { nodes } = await client.request('MsgGetGameUsedNodeList', { gameId });
  for (const { used1, usedText1 } of nodes) console.log(`used node ${used1}: ${usedText1}`);

  console.log(`stopped, code ${(await client.stop()).code}`);
  console.log(`left, ${(await client.leave()).remainingClients} remain`);
}

async function main(args) {
  if (args.length !== 5) {
    console.error('usage: session.mjs ACCOUNT CREDENTIAL GAME AREA SERVER');
    return 2;
  }
  let client;
  try {
    client = await OrvaClient.connect();
    console.log('connected');
    await session(client, args);
    return 0;
  } catch (error) {
    if (!(error instanceof OrvaError)) throw error;
    console.error(error.message);
    return 1;
  } finally {
    client?.close();
  }
}

process.exitCode = await main(process.argv.slice(2));
