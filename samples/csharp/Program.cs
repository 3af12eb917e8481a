// A whole session with the service in C#, from the protocol page alone. Windows only.
//
//   OrvaSession ACCOUNT CREDENTIAL GAME AREA SERVER
//
// Initialises the library, logs in, accelerates until it is confirmed, shows some figures, stops and
// leaves. Prints a line for each step; ends with 1 and a reason if a step fails.
using System;
using System.Collections.Generic;
using System.ComponentModel;
using System.Diagnostics;
using System.IO;
using System.Text;

namespace Orva.Samples
{
    // A step was answered, and the answer is no.
    public sealed class RefusedException : Exception
    {
        public RefusedException(string message) : base(message) { }
    }

    public sealed class Session : IDisposable
    {
        private static readonly TimeSpan ConnectTime = TimeSpan.FromSeconds(5);
        private static readonly TimeSpan AnswerTime = TimeSpan.FromSeconds(10);

        private readonly uint clientId = (uint)Process.GetCurrentProcess().Id;
        private readonly NotificationReader reader = new NotificationReader();
        private readonly ServicePipe push;
        private readonly ServicePipe requests;

        public Session()
        {
            // First the push pipe: notifications are not kept for later.
            push = new ServicePipe(ServicePipe.Push, ConnectTime);
            try
            {
                push.Write(Protocol.EncodeRegistration(clientId), AnswerTime);
                requests = new ServicePipe(ServicePipe.Requests, ConnectTime);
            }
            catch
            {
                push.Dispose();
                throw;
            }
            // Gives the service the moment in which it notices the registration.
            Ask(Request.Heartbeat);
            Console.WriteLine("connected");
        }

        public void Dispose()
        {
            requests.Dispose();
            push.Dispose();
        }

        public void Initialise()
        {
            long result = Ask(Request.SdkInit, new Values
            {
                { "channelId", 1L }, { "channelNumber", 0L }, { "channelName", "official" },
            }).Number("result");
            if (result != 1)
                throw new RefusedException("the acceleration library cannot be initialised: " + result);
            Console.WriteLine("initialised");
        }

        public void LogIn(string account, string credential)
        {
            Ask(Request.UserLogin, new Values { { "account", account }, { "credential", credential } });
            long code = Outcome(Notify.UserLogin, Notify.UserLogin).Number("code");
            if (code != 0) throw new RefusedException("the login was refused, code " + code);
            Console.WriteLine("logged in");
        }

        public void Accelerate(uint game, uint area, string server)
        {
            Values answer = Ask(Request.StartAccel, new Values
            {
                { "startArg1", (long)game }, { "startArg2", (long)area }, { "startArg3", 0L },
                { "startText", server },
                // "", "auto", or integers separated by ';'. Anything else ends the service.
                { "nodeSelection", "auto" },
            });
            if (answer.Number("accepted") == 0) throw new RefusedException("the start was refused");
            for (;;)
            {
                Values result = Outcome(Notify.StartAccel, Notify.StartAccelEx);
                long state = result.Number("state");
                Console.WriteLine("state {0}: {1}, {2}", state, result["text1"], result["text2"]);
                if (state >= 5 && state <= 7)
                    throw new RefusedException("the acceleration has ended");
                if (state == 4) return;
            }
        }

        public void ShowFigures(uint game)
        {
            Values owner = Ask(Request.QueryAccelOwner);
            Console.WriteLine("mine: " + (owner.Number("ownedByCaller") != 0 ? "yes" : "no"));
            Values data = Ask(Request.GetAccelData);
            Console.WriteLine("game {0}, area {1}, node {2}", data["value2"], data["value3"],
                data["text3"]);
            Values used = Ask(Request.GetGameUsedNodeList, new Values { { "gameId", (long)game } });
            foreach (Values node in (List<Values>)used["nodes"])
                Console.WriteLine("used node {0}: {1}", node["used1"], node["usedText1"]);
        }

        public void StopAndLeave()
        {
            Ask(Request.StopAccel);
            Console.WriteLine("stopped, code {0}", Outcome(Notify.StopAccel, Notify.StopAccel)["code"]);
            Console.WriteLine("left, {0} remain", Ask(Request.ClientLeaving)["remainingClients"]);
        }

        // Sends a request and gives its answer.
        private Values Ask(Request type, Values values = null)
        {
            requests.Write(Protocol.EncodeRequest(type, clientId, values), AnswerTime);
            uint length = Protocol.DecodeResponseHeader(requests.Read(AnswerTime));
            byte[] payload = length == 0 ? new byte[0] : requests.Read(AnswerTime);
            if (payload.Length != length)
                throw new ProtocolException(payload.Length + " of " + length + " bytes came");
            return Protocol.DecodeResponse(type, payload);
        }

        // The next notification of one of two types that is about this client.
        private Values Outcome(Notify type, Notify other)
        {
            for (;;)
            {
                Notification came = reader.Take(push.Read(AnswerTime));
                if (came == null || came.ClientId != clientId) continue;
                if (came.Type == type || came.Type == other) return came.Values;
            }
        }
    }

    public static class Program
    {
        public static int Main(string[] arguments)
        {
            if (arguments.Length != 5)
            {
                Console.Error.WriteLine("usage: OrvaSession ACCOUNT CREDENTIAL GAME AREA SERVER");
                return 2;
            }
            Console.OutputEncoding = new UTF8Encoding(false);
            try
            {
                uint game = uint.Parse(arguments[2]);
                using (Session session = new Session())
                {
                    session.Initialise();
                    session.LogIn(arguments[0], arguments[1]);
                    session.Accelerate(game, uint.Parse(arguments[3]), arguments[4]);
                    session.ShowFigures(game);
                    session.StopAndLeave();
                }
                return 0;
            }
            catch (Exception failure) when (
                failure is RefusedException || failure is ProtocolException ||
                failure is IOException || failure is TimeoutException ||
                failure is UnauthorizedAccessException || failure is Win32Exception ||
                failure is FormatException || failure is OverflowException)
            {
                Console.Error.WriteLine(failure.Message);
                return 1;
            }
        }
    }
}
