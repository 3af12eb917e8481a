// The bytes of the protocol, as docs/protocol.md tells them. Pure functions, any system.
using System;
using System.Collections.Generic;
using System.IO;
using System.Text;

namespace Orva.Samples
{
    // The types of the page; the values are the wire's.
    public enum Request : uint
    {
        SdkInit = 256,
        UserLogin = 257,
        SdkRelease = 258,
        SdkIsInitialised = 512,
        StartAccel = 1280,
        StartAccelEx = 1281,
        StopAccel = 1282,
        QueryAccelOwner = 1283,
        GetAccelData = 1536,
        GetGameLastAccelInfo = 1537,
        GetGameAccelInfo = 1538,
        GetTestSpeedData = 1539,
        GetConsoleData = 1540,
        GetGameUsedNodeList = 1541,
        ClientLeaving = 1792,
        Heartbeat = 65535,
    }

    public enum Notify : uint
    {
        StartAccel = 4096,
        StartAccelEx = 4097,
        StopAccel = 4098,
        UserLogin = 4099,
    }

    // What came does not keep to the protocol, or what is to be sent would not.
    public sealed class ProtocolException : Exception
    {
        public ProtocolException(string message) : base(message) { }
    }

    // A message by the page's names: texts are string, integers long, u64 is ulong, "summary" is a list
    // of integers, "nodes" a list of Values.
    public sealed class Values : Dictionary<string, object>
    {
        public long Number(string name) { return (long)this[name]; }
        public string Text(string name) { return (string)this[name]; }
    }

    // A record: its fixed part field by field, separated by commas. Texts follow it, in the order of
    // their lengths.
    //   u8, u16, u32, i32, u64 NAME   an integer
    //   14u32 NAME                    fourteen of them
    //   text NAME                     u16, how many bytes the text has
    //   pad N                         N bytes of padding
    internal sealed class Layout
    {
        private readonly List<KeyValuePair<string, string>> fields =
            new List<KeyValuePair<string, string>>();

        public Layout(string description)
        {
            foreach (string field in description.Split(new[] { ", " }, StringSplitOptions.RemoveEmptyEntries))
            {
                string[] parts = field.Split(' ');
                fields.Add(new KeyValuePair<string, string>(parts[0], parts[1]));
            }
        }

        public byte[] Encode(Values values)
        {
            MemoryStream fixedPart = new MemoryStream(), texts = new MemoryStream();
            foreach (KeyValuePair<string, string> field in fields)
            {
                string name = field.Value;
                switch (field.Key)
                {
                    case "pad": Put(fixedPart, 0, int.Parse(name)); break;
                    case "text":
                        byte[] text = Encoding.UTF8.GetBytes(values.Text(name));
                        if (text.Length > ushort.MaxValue)
                            throw new ProtocolException(name + " has more than 65535 bytes");
                        Put(fixedPart, text.Length, 2);
                        texts.Write(text, 0, text.Length);
                        break;
                    default: Put(fixedPart, values.Number(name), SizeOf(field.Key)); break;
                }
            }
            texts.WriteTo(fixedPart);
            return fixedPart.ToArray();
        }

        // Reads from `position` and leaves it behind the record. `surplus`: what the first text has beyond
        // its length.
        public Values Decode(byte[] data, ref int position, int surplus = 0)
        {
            Values values = new Values();
            foreach (KeyValuePair<string, string> field in fields)
            {
                string name = field.Value;
                switch (field.Key)
                {
                    case "pad": Take(data, ref position, int.Parse(name)); break;
                    case "u64": values[name] = Take(data, ref position, 8); break;
                    case "i32": values[name] = (long)(int)Take(data, ref position, 4); break;
                    case "14u32":
                        List<long> numbers = new List<long>();
                        while (numbers.Count < 14) numbers.Add((long)Take(data, ref position, 4));
                        values[name] = numbers;
                        break;
                    default: values[name] = (long)Take(data, ref position, SizeOf(field.Key)); break;
                }
            }
            foreach (KeyValuePair<string, string> field in fields)
            {
                if (field.Key != "text") continue;
                int length = (int)values.Number(field.Value) + surplus;
                surplus = 0;
                if (length > data.Length - position)
                    throw new ProtocolException(field.Value + " is longer than what came");
                values[field.Value] = Encoding.UTF8.GetString(data, position, length);
                position += length;
            }
            return values;
        }

        private static int SizeOf(string kind)
        {
            switch (kind)
            {
                case "u8": return 1;
                case "u16": case "text": return 2;
                case "u64": return 8;
                default: return 4;
            }
        }

        private static void Put(Stream to, long value, int bytes)
        {
            for (int i = 0; i < bytes; ++i) to.WriteByte((byte)(value >> (8 * i)));
        }

        private static ulong Take(byte[] data, ref int position, int bytes)
        {
            if (bytes > data.Length - position) throw new ProtocolException("too few bytes came");
            ulong value = 0;
            for (int i = 0; i < bytes; ++i) value |= (ulong)data[position + i] << (8 * i);
            position += bytes;
            return value;
        }
    }

    public static class Protocol
    {
        public const int PushHeaderLength = 20;
        private const uint RequestMagic = 0x52584C50;
        private const uint PushMagic = 0x52584B50;

        private static readonly Layout RequestHeader = new Layout(
            "u32 magic, u32 reserved1, u32 type, u32 payloadLength, u32 reserved2, u32 clientId");
        private static readonly Layout PushHeader = new Layout(
            "u32 magic, u32 clientId, u32 type, u32 payloadLength, u32 timestamp");

        private const string Start = "u32 startArg1, u32 startArg2, text startText, pad 2, " +
            "u32 startArg3, text nodeSelection, pad 2";
        private static readonly Layout Nothing = new Layout("");
        private static readonly Layout Game = new Layout("u32 gameId");
        private static readonly Layout Result = new Layout("u32 result");
        private static readonly Layout UsedNode = new Layout("u32 used1, u32 used2, u32 used3, pad 4, " +
            "u64 used4, text usedText1, text usedText2, pad 4");

        // What is not here has no payload.
        private static readonly Dictionary<Request, Layout> Requests = new Dictionary<Request, Layout>
        {
            { Request.SdkInit, new Layout("u32 channelId, u32 channelNumber, text channelName, pad 2") },
            { Request.UserLogin, new Layout("text account, text credential") },
            { Request.StartAccel, new Layout(Start) },
            { Request.StartAccelEx, new Layout(Start + ", u32 startArg4") },
            { Request.GetGameLastAccelInfo, Game },
            { Request.GetGameAccelInfo, Game },
            { Request.GetTestSpeedData,
                new Layout("u32 gameId, u32 areaId, text serverKey, pad 2, u32 testOption") },
            { Request.GetGameUsedNodeList, Game },
        };

        private static readonly Dictionary<Request, Layout> Responses = new Dictionary<Request, Layout>
        {
            { Request.SdkInit, new Layout("i32 result") },
            { Request.UserLogin, Result },
            { Request.SdkRelease, Result },
            { Request.SdkIsInitialised, new Layout("u8 initialised") },
            { Request.StartAccel, new Layout("u8 accepted") },
            { Request.StartAccelEx, new Layout("u8 accepted") },
            { Request.StopAccel, new Layout("u8 result") },
            { Request.QueryAccelOwner, new Layout("u8 anyAcceleration, u8 ownedByCaller") },
            { Request.GetAccelData, new Layout("u32 value2, u32 value3, u32 value4, u32 value1, " +
                "u32 value5, u32 value6, u32 value9, pad 4, u64 value8, u32 value10, text text3, pad 2") },
            { Request.GetGameLastAccelInfo, new Layout("u32 status, u32 areaId, u32 nodeId, " +
                "u32 infoFlag, u32 infoValue, text infoText, text serverKey") },
            { Request.GetGameAccelInfo, new Layout("u32 status, u32 gameId, u32 areaId, u32 nodeId, " +
                "u32 infoFlag, u32 infoValue, u32 reservedWord, pad 4, u64 reservedLong, " +
                "u32 nodeValue1, u32 nodeValue2, text gameText, text infoText, text serverKey, " +
                "text serverText, text nodeText, pad 6") },
            { Request.GetTestSpeedData, new Layout("u32 status, 14u32 summary") },
            { Request.GetConsoleData, new Layout("u32 status, u32 console1, u32 console2, " +
                "u32 console3, u32 console4, u32 console5, u32 consoleFlag") },
            { Request.GetGameUsedNodeList, new Layout("u32 status, u32 count") },  // The nodes follow.
            { Request.ClientLeaving, new Layout("u32 lastClient, u32 remainingClients") },
            { Request.Heartbeat, new Layout("u32 monotonicMs") },
        };

        private static readonly Layout StartResult = new Layout("u32 value1, u32 value2, text text1, " +
            "pad 2, u32 value3, u32 state, u32 value4, u32 value5, text text2, pad 2");
        private static readonly Layout StopResult = new Layout("u32 success, i32 code, text text, pad 2");
        private static readonly Layout LoginResult = new Layout("i32 code, text text, pad 2");

        // Header and payload, as the one message that is written to the request pipe.
        public static byte[] EncodeRequest(Request type, uint clientId, Values values)
        {
            Layout layout;
            if (!Requests.TryGetValue(type, out layout)) layout = Nothing;
            byte[] payload = layout.Encode(values);
            byte[] header = RequestHeader.Encode(new Values
            {
                { "magic", (long)RequestMagic }, { "reserved1", 0L }, { "type", (long)type },
                { "payloadLength", (long)payload.Length }, { "reserved2", 0L },
                { "clientId", (long)clientId },
            });
            byte[] message = new byte[header.Length + payload.Length];
            header.CopyTo(message, 0);
            payload.CopyTo(message, header.Length);
            return message;
        }

        public static byte[] EncodeRegistration(uint clientId)
        {
            return new Layout("u32 clientId").Encode(new Values { { "clientId", (long)clientId } });
        }

        // How many bytes of payload follow a response's header.
        public static uint DecodeResponseHeader(byte[] message)
        {
            if (message.Length != 8) throw new ProtocolException("no response's header came");
            int position = 0;
            return (uint)new Layout("u32 reserved, u32 payloadLength").Decode(message, ref position)
                .Number("payloadLength");
        }

        public static Values DecodeResponse(Request type, byte[] payload)
        {
            Layout layout;
            if (payload.Length == 0 || !Responses.TryGetValue(type, out layout))
                throw new ProtocolException("the service does not know " + type);
            int position = 0;
            Values values = layout.Decode(payload, ref position);
            if (type == Request.GetGameUsedNodeList)
            {
                List<Values> nodes = new List<Values>();
                while (nodes.Count < values.Number("count"))
                    nodes.Add(UsedNode.Decode(payload, ref position));
                values["nodes"] = nodes;
            }
            if (position != payload.Length) throw new ProtocolException("too many bytes came");
            return values;
        }

        // Null when the message can be nothing but a payload.
        public static Values DecodePushHeader(byte[] message)
        {
            if (message.Length != PushHeaderLength) return null;
            int position = 0;
            Values header = PushHeader.Decode(message, ref position);
            return header.Number("magic") == PushMagic ? header : null;
        }

        // Of a type that is not known, the bytes are in "payload".
        public static Values DecodeNotification(Notify type, byte[] payload)
        {
            bool isStart = type == Notify.StartAccel || type == Notify.StartAccelEx;
            Layout layout = isStart ? StartResult
                : type == Notify.StopAccel ? StopResult
                : type == Notify.UserLogin ? LoginResult : null;
            if (layout == null) return new Values { { "payload", payload } };
            int position = 0;
            Values values = layout.Decode(payload, ref position);
            int surplus = payload.Length - position;
            // A start's texts go out whole when their lengths do not fit.
            if (!isStart && surplus != 0 || surplus % 65536 != 0)
                throw new ProtocolException("too many bytes came");
            position = 0;
            return surplus == 0 ? values : layout.Decode(payload, ref position, surplus);
        }
    }

    public sealed class Notification
    {
        public uint ClientId, Timestamp;
        public Notify Type;
        public Values Values;
    }

    // Puts the messages of the push pipe together. Headers of notifications that are sent at the same
    // time may come before both payloads: a payload belongs to the earliest header that announces its
    // length and whose type it decodes as.
    public sealed class NotificationReader
    {
        private readonly List<Values> waiting = new List<Values>();

        // The notification that this message completes, or null. Throws for a message that is lost; the
        // next ones can still be taken.
        public Notification Take(byte[] message)
        {
            Values header = Protocol.DecodePushHeader(message);
            if (header == null) return TakePayload(message);
            if (header.Number("payloadLength") == 0) return Complete(header, new byte[0]);
            waiting.Add(header);
            return null;
        }

        private Notification TakePayload(byte[] message)
        {
            List<Values> candidates = waiting.FindAll(
                header => header.Number("payloadLength") == message.Length);
            foreach (Values header in candidates)
            {
                try
                {
                    Notification notification = Complete(header, message);
                    waiting.Remove(header);
                    return notification;
                }
                catch (ProtocolException)
                {
                    // Another header's payload.
                }
            }
            // It was the payload of one of them: kept, that header would take another one's.
            if (candidates.Count > 0) waiting.Remove(candidates[0]);
            throw new ProtocolException("a payload came that belongs to no header");
        }

        private static Notification Complete(Values header, byte[] payload)
        {
            Notify type = (Notify)header.Number("type");
            return new Notification
            {
                ClientId = (uint)header.Number("clientId"),
                Timestamp = (uint)header.Number("timestamp"),
                Type = type,
                Values = Protocol.DecodeNotification(type, payload),
            };
        }
    }
}
