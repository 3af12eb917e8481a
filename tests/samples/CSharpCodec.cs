// Lets another program call the codec of the sample in C#: a line in, a line out.
//
//   request TYPE CLIENT-ID [NAME n NUMBER | NAME t HEX]...   the message in hexadecimal
//   registration CLIENT-ID                                   the message in hexadecimal
//   response TYPE HEX                                        the values, or "refused"
//   reader                                                   begins anew; "ok"
//   message HEX                                              the notification, null, or "lost"
using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Text;
using Orva.Samples;

public static class CSharpCodec
{
    private static NotificationReader reader = new NotificationReader();

    public static void Main()
    {
        TextReader input = new StreamReader(Console.OpenStandardInput(), Encoding.ASCII);
        TextWriter output = new StreamWriter(Console.OpenStandardOutput(), Encoding.ASCII);
        for (string line = input.ReadLine(); line != null; line = input.ReadLine())
        {
            output.WriteLine(Answer(line.Split(' ')));
            output.Flush();
        }
    }

    private static string Answer(string[] words)
    {
        switch (words[0])
        {
            case "request": return Hex(EncodeRequest(words));
            case "registration": return Hex(Protocol.EncodeRegistration(uint.Parse(words[1])));
            case "response": return Response((Request)uint.Parse(words[1]), Bytes(words[2]));
            case "reader":
                reader = new NotificationReader();
                return "\"ok\"";
            default: return Message(Bytes(words[1]));
        }
    }

    private static byte[] EncodeRequest(string[] words)
    {
        Values values = new Values();
        for (int i = 3; i < words.Length; i += 3)
        {
            if (words[i + 1] == "n") values[words[i]] = long.Parse(words[i + 2]);
            else values[words[i]] = Encoding.UTF8.GetString(Bytes(words[i + 2]));
        }
        return Protocol.EncodeRequest((Request)uint.Parse(words[1]), uint.Parse(words[2]), values);
    }

    private static string Response(Request type, byte[] message)
    {
        try
        {
            byte[] header = Part(message, 0, 8), payload = Part(message, 8, message.Length);
            if (Protocol.DecodeResponseHeader(header) != payload.Length) return "\"wrong length\"";
            return Json(Protocol.DecodeResponse(type, payload));
        }
        catch (ProtocolException)
        {
            return "\"refused\"";
        }
    }

    private static string Message(byte[] message)
    {
        try
        {
            Notification came = reader.Take(message);
            if (came == null) return "null";
            bool isKnown = !came.Values.ContainsKey("payload");
            return string.Format("{{\"clientId\":{0},\"type\":{1},\"timestamp\":{2},{3}}}", came.ClientId,
                (uint)came.Type, came.Timestamp,
                isKnown ? "\"values\":" + Json(came.Values)
                        : "\"payload\":" + Hex((byte[])came.Values["payload"]));
        }
        catch (ProtocolException)
        {
            return "\"lost\"";
        }
    }

    private static byte[] Part(byte[] all, int from, int to)
    {
        byte[] part = new byte[to - from];
        Array.Copy(all, from, part, 0, part.Length);
        return part;
    }

    // "-" stands for no bytes.
    private static byte[] Bytes(string hex)
    {
        byte[] bytes = new byte[hex == "-" ? 0 : hex.Length / 2];
        for (int i = 0; i < bytes.Length; ++i)
            bytes[i] = byte.Parse(hex.Substring(2 * i, 2), NumberStyles.HexNumber);
        return bytes;
    }

    private static string Hex(byte[] bytes)
    {
        return "\"" + BitConverter.ToString(bytes).Replace("-", " ") + "\"";
    }

    private static string Json(object value)
    {
        if (value is string) return Json((string)value);
        if (value is Values)
        {
            List<string> members = new List<string>();
            foreach (KeyValuePair<string, object> member in (Values)value)
                members.Add(Json(member.Key) + ":" + Json(member.Value));
            return "{" + string.Join(",", members) + "}";
        }
        if (value is System.Collections.IEnumerable)
        {
            List<string> items = new List<string>();
            foreach (object item in (System.Collections.IEnumerable)value) items.Add(Json(item));
            return "[" + string.Join(",", items) + "]";
        }
        return Convert.ToString(value, CultureInfo.InvariantCulture);
    }

    private static string Json(string text)
    {
        StringBuilder json = new StringBuilder("\"");
        foreach (char unit in text) json.AppendFormat("\\u{0:x4}", (int)unit);
        return json.Append('"').ToString();
    }
}
