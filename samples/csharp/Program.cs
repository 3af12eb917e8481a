// A whole session with the service in C#, from the protocol page alone. Windows only.
//
//   OrvaSession ACCOUNT CREDENTIAL GAME AREA SERVER
//
// Initialises the library, logs in, accelerates until it is confirmed, shows some figures, stops and
// leaves. Prints a line for each step; ends with 1 and a reason if a step fails.
using System;
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
        private static readonly byte[] Nothing = new byte[0];

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
            Ask(Request.Heartbeat, Nothing);
            Console.WriteLine("connected");
        }

        public void Dispose()
        {
            requests.Dispose();
            push.Dispose();
        }

        public void Initialise()
        {
            int result = Ask(Request.SdkInit, Protocol.EncodeInit(1, 0, "official")).I32();
            if (result != 1)
                throw new RefusedException("the acceleration library cannot be initialised: " + result);
            Console.WriteLine("initialised");
        }

        public void LogIn(string account, string credential)
        {
            Ask(Request.UserLogin, Protocol.EncodeLogin(account, credential));
            int code = Outcome(Notify.UserLogin, Notify.UserLogin).I32();
            if (code != 0) throw new RefusedException("the login was refused, code " + code);
            Console.WriteLine("logged in");
        }

        public void Accelerate(uint game, uint area, string server)
        {
            byte[] payload = Protocol.EncodeStart(game, area, 0, server, "auto");
            if (Ask(Request.StartAccel, payload).U8() == 0)
                throw new RefusedException("the start was refused");
            for (;;)
            {
                PayloadReader result = Outcome(Notify.StartAccel, Notify.StartAccelEx);
                result.Skip(8);  // value1, value2
                result.TextLength();
                result.Skip(6);  // Padding, value3.
                uint state = result.U32();
                result.Skip(8);  // value4, value5
                result.TextLength();
                result.Skip(2);
                Console.WriteLine("state {0}: {1}, {2}", state, result.Text(), result.Text());
                if (state >= 5 && state <= 7)
                    throw new RefusedException("the acceleration has ended");
                if (state == 4) return;
            }
        }

        public void ShowFigures(uint game)
        {
            PayloadReader owner = Ask(Request.QueryAccelOwner, Nothing);
            owner.U8();
            Console.WriteLine("mine: " + (owner.U8() != 0 ? "yes" : "no"));

            PayloadReader data = Ask(Request.GetAccelData, Nothing);
            uint value2 = data.U32();
            uint value3 = data.U32();
            data.Skip(36);  // To text3Length.
            data.TextLength();
            data.Skip(2);
            Console.WriteLine("game {0}, area {1}, node {2}", value2, value3, data.Text());

            PayloadReader nodes = Ask(Request.GetGameUsedNodeList, Protocol.EncodeGame(game));
            nodes.U32();  // The status, always 1.
            for (uint left = nodes.U32(); left > 0; --left)
            {
                uint node = nodes.U32();
                nodes.Skip(20);  // To usedText1Length.
                nodes.TextLength();
                nodes.TextLength();
                nodes.Skip(4);
                Console.WriteLine("used node {0}: {1}", node, nodes.Text());
                nodes.Text();
            }
        }

        public void StopAndLeave()
        {
            Ask(Request.StopAccel, Nothing);
            PayloadReader stopped = Outcome(Notify.StopAccel, Notify.StopAccel);
            stopped.U32();  // success
            Console.WriteLine("stopped, code " + stopped.I32());
            PayloadReader left = Ask(Request.ClientLeaving, Nothing);
            left.U32();  // lastClient
            Console.WriteLine("left, {0} remain", left.U32());
        }

        // Sends a request and gives the payload of its answer.
        private PayloadReader Ask(Request type, byte[] payload)
        {
            requests.Write(Protocol.EncodeRequest(type, clientId, payload), AnswerTime);
            uint length = Protocol.DecodeResponseHeader(requests.Read(AnswerTime));
            if (length == 0) throw new ProtocolException("the service does not know " + type);
            byte[] answer = requests.Read(AnswerTime);
            if (answer.Length != length)
                throw new ProtocolException(answer.Length + " of " + length + " bytes came");
            return new PayloadReader(answer);
        }

        // The payload of the next notification of one of two types that is about this client.
        private PayloadReader Outcome(Notify type, Notify other)
        {
            for (;;)
            {
                Notification came = reader.Take(push.Read(AnswerTime));
                if (came == null || came.ClientId != clientId) continue;
                if (came.Type == type || came.Type == other) return new PayloadReader(came.Payload);
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
