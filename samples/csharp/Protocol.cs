// The bytes of the protocol, as docs/protocol.md tells them. Pure functions, any system.
using System;
using System.Collections.Generic;
using System.IO;
using System.Text;

namespace Orva.Samples
{
    // The request types of the page; the values are the wire's.
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

    // Puts a payload together: call in the order of the fixed part. Texts go behind it.
    public sealed class PayloadWriter
    {
        private readonly MemoryStream fixedPart = new MemoryStream();
        private readonly MemoryStream texts = new MemoryStream();

        public PayloadWriter U16(ushort value)
        {
            fixedPart.WriteByte((byte)value);
            fixedPart.WriteByte((byte)(value >> 8));
            return this;
        }

        public PayloadWriter U32(uint value)
        {
            return U16((ushort)value).U16((ushort)(value >> 16));
        }

        // The text's length stands here.
        public PayloadWriter Text(string text)
        {
            byte[] bytes = Encoding.UTF8.GetBytes(text);
            if (bytes.Length > ushort.MaxValue)
                throw new ProtocolException("a text has more than 65535 bytes");
            texts.Write(bytes, 0, bytes.Length);
            return U16((ushort)bytes.Length);
        }

        public byte[] ToArray()
        {
            byte[] all = new byte[fixedPart.Length + texts.Length];
            fixedPart.ToArray().CopyTo(all, 0);
            texts.ToArray().CopyTo(all, fixedPart.Length);
            return all;
        }
    }

    // Takes a payload apart: first the fixed part in its order, then the texts in the order in which
    // their lengths came.
    public sealed class PayloadReader
    {
        private readonly byte[] data;
        private readonly Queue<int> lengths = new Queue<int>();
        private int position;

        public PayloadReader(byte[] data)
        {
            this.data = data;
        }

        public byte U8()
        {
            if (position >= data.Length) throw new ProtocolException("too few bytes came");
            return data[position++];
        }

        public ushort U16() { return (ushort)(U8() | U8() << 8); }
        public uint U32() { return U16() | (uint)U16() << 16; }
        public int I32() { return unchecked((int)U32()); }
        public ulong U64() { return U32() | (ulong)U32() << 32; }

        public void Skip(int bytes)
        {
            for (int i = 0; i < bytes; ++i) U8();
        }

        public void TextLength() { lengths.Enqueue(U16()); }

        public string Text()
        {
            int length = lengths.Dequeue();
            if (length > data.Length - position)
                throw new ProtocolException("a text is longer than what came");
            string text = Encoding.UTF8.GetString(data, position, length);
            position += length;
            return text;
        }
    }

    public sealed class Notification
    {
        public uint ClientId;
        public Notify Type;
        public byte[] Payload;
    }

    public static class Protocol
    {
        private const uint RequestMagic = 0x52584C50;
        private const uint PushMagic = 0x52584B50;
        private const int PushHeaderLength = 20;

        // Header and payload, as the one message that is written to the request pipe.
        public static byte[] EncodeRequest(Request type, uint clientId, byte[] payload)
        {
            byte[] header = new PayloadWriter().U32(RequestMagic).U32(0).U32((uint)type)
                .U32((uint)payload.Length).U32(0).U32(clientId).ToArray();
            byte[] message = new byte[header.Length + payload.Length];
            header.CopyTo(message, 0);
            payload.CopyTo(message, header.Length);
            return message;
        }

        public static byte[] EncodeRegistration(uint clientId)
        {
            return new PayloadWriter().U32(clientId).ToArray();
        }

        public static byte[] EncodeInit(uint channelId, uint channelNumber, string channelName)
        {
            return new PayloadWriter().U32(channelId).U32(channelNumber).Text(channelName).U16(0)
                .ToArray();
        }

        public static byte[] EncodeLogin(string account, string credential)
        {
            return new PayloadWriter().Text(account).Text(credential).ToArray();
        }

        // `nodes`: "", "auto", or integers separated by ';'. Anything else ends the service.
        public static byte[] EncodeStart(uint arg1, uint arg2, uint arg3, string text, string nodes)
        {
            return new PayloadWriter().U32(arg1).U32(arg2).Text(text).U16(0).U32(arg3).Text(nodes)
                .U16(0).ToArray();
        }

        public static byte[] EncodeGame(uint gameId)
        {
            return new PayloadWriter().U32(gameId).ToArray();
        }

        // How many bytes of payload follow a response's header.
        public static uint DecodeResponseHeader(byte[] message)
        {
            if (message.Length != 8) throw new ProtocolException("no response's header came");
            PayloadReader reader = new PayloadReader(message);
            reader.U32();
            return reader.U32();
        }

        // Null when the message can be nothing but a payload.
        public static Notification DecodeNotificationHeader(byte[] message, out uint payloadLength)
        {
            payloadLength = 0;
            if (message.Length != PushHeaderLength) return null;
            PayloadReader reader = new PayloadReader(message);
            if (reader.U32() != PushMagic) return null;
            Notification notification = new Notification();
            notification.ClientId = reader.U32();
            notification.Type = (Notify)reader.U32();
            payloadLength = reader.U32();
            return notification;
        }
    }

    // Puts the messages of the push pipe together. Headers of notifications that are sent at the same
    // time may come before both payloads: a payload goes to the first header that waits for so many
    // bytes.
    public sealed class NotificationReader
    {
        private readonly List<KeyValuePair<uint, Notification>> waiting =
            new List<KeyValuePair<uint, Notification>>();

        // The notification that this message completes, or null.
        public Notification Take(byte[] message)
        {
            uint length;
            Notification header = Protocol.DecodeNotificationHeader(message, out length);
            if (header != null && length != 0)
            {
                waiting.Add(new KeyValuePair<uint, Notification>(length, header));
                return null;
            }
            if (header != null)
            {
                header.Payload = new byte[0];
                return header;
            }
            int index = waiting.FindIndex(entry => entry.Key == message.Length);
            if (index < 0) throw new ProtocolException("a payload without a header came");
            Notification notification = waiting[index].Value;
            waiting.RemoveAt(index);
            notification.Payload = message;
            return notification;
        }
    }
}
