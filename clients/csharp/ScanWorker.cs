// Scans from any .NET program (.NET Framework 4, .NET, Mono; 32 or 64 bits) through smworker.exe:
//
//     using (var worker = new ScanWorker()) {
//         worker.Open();
//         worker.Scan(new Dictionary<string, object> { { "mode", "gray" }, { "pages", "all" }, { "output", "page%03d.png" } },
//                     page => Console.WriteLine(page["file"]));
//     }
//
// docs/worker.md tells what else the worker can do: Call() sends any method. As a program of its own:
// scanworker --mode gray --pages all out.pdf. On Mono: mcs -r:System.Runtime.Serialization -r:System.Xml.Linq ScanWorker.cs
using System;
using System.Collections;
using System.Collections.Generic;
using System.Diagnostics;
using System.Globalization;
using System.IO;
using System.Linq;
using System.Runtime.Serialization.Json;
using System.Text;
using System.Xml;
using System.Xml.Linq;

using Values = System.Collections.Generic.Dictionary<string, object>;

// What the worker answered instead of a result.
public sealed class ScanException : Exception {
    public ScanException(Values error) : base((string)error["message"]) {
        Code = Convert.ToInt32(error["code"]);
        Details = error.ContainsKey("data") ? (Values)error["data"] : new Values();
    }
    public int Code { get; private set; }
    public Values Details { get; private set; }  // condition, page, pagesKept ...
}

// The worker ended: mostly a driver that crashed. Its error output says why; pages that were told are kept.
public sealed class WorkerGoneException : Exception {
    public WorkerGoneException() : base("The worker is gone.") {}
}

// A process of its own, with one source open at a time. One thread at a time may call it, but for Cancel().
public sealed class ScanWorker : IDisposable {
    private readonly Process process;
    private readonly Stream toWorker;
    private readonly StreamReader fromWorker;
    private int lastId;

    // command: the worker's, by default smworker.exe; SMWORKER in the environment says otherwise, as "wine smworker.exe".
    public ScanWorker(string command = null, string folder = null) {
        command = command ?? Environment.GetEnvironmentVariable("SMWORKER") ?? "smworker.exe";
        int blank = File.Exists(command) ? -1 : command.IndexOf(' ');
        var start = new ProcessStartInfo(blank < 0 ? command : command.Substring(0, blank),
                                         blank < 0 ? "" : command.Substring(blank + 1));
        start.UseShellExecute = false;
        start.CreateNoWindow = true;
        start.RedirectStandardInput = start.RedirectStandardOutput = true;
        start.WorkingDirectory = folder ?? Directory.GetCurrentDirectory();
        process = Process.Start(start);
        toWorker = process.StandardInput.BaseStream;
        fromWorker = new StreamReader(process.StandardOutput.BaseStream, new UTF8Encoding(false));
        Call("initialize", new Values { { "protocolVersion", 1 } });
    }

    public string Open(object source = null) {
        var values = new Values();
        if (source != null) values["source"] = source;
        return (string)Call("open", values)["source"];
    }

    // Scans; tells each page as it is complete, and of each other notification its method and params. Returns the number
    // of pages.
    public int Scan(Values order, Action<Values> onPage, Action<string, Values> onEvent = null) {
        return Convert.ToInt32(Call("scan", order, (method, values) => {
            if (method == "page") onPage(values);
            else if (onEvent != null) onEvent(method, values);
        })["pages"]);
    }

    // From within a handler, or from another thread. Scan() then throws a ScanException with the code -32800.
    public void Cancel() {
        Send("cancel", new Values(), null);
    }

    public Values Call(string method, Values values = null, Action<string, Values> onEvent = null) {
        int id = ++lastId;
        Send(method, values ?? new Values(), id);
        while (true) {
            Values message = Receive();
            if (message.ContainsKey("method")) {
                if (onEvent != null) onEvent((string)message["method"], (Values)message["params"]);
            } else if (message["id"] == null || Convert.ToInt32(message["id"]) == id) {  // null: it couldn't be read
                if (message.ContainsKey("error")) throw new ScanException((Values)message["error"]);
                return (Values)message["result"];
            }
        }
    }

    // Ends the worker: by itself, within five seconds even when the driver hangs; else by force.
    public void Dispose() {
        try {
            toWorker.Close();
        } catch (IOException) {
        }
        if (!process.WaitForExit(8000)) process.Kill();
        process.Dispose();
    }

    private void Send(string method, Values values, int? id) {
        var request = new Values { { "jsonrpc", "2.0" }, { "method", method }, { "params", values } };
        if (id != null) request["id"] = id;
        byte[] line = Encoding.UTF8.GetBytes(Json.Write(request) + "\n");
        try {
            lock (toWorker) {
                toWorker.Write(line, 0, line.Length);
                toWorker.Flush();
            }
        } catch (IOException) {
            throw new WorkerGoneException();
        }
    }

    private Values Receive() {
        string line = fromWorker.ReadLine();
        if (line == null) throw new WorkerGoneException();
        try {
            return (Values)Json.Read(line);
        } catch (XmlException) {
            throw new WorkerGoneException();  // a last line that was cut off
        }
    }
}

// As much of JSON as the worker speaks: objects are Values, numbers decimal.
internal static class Json {
    public static object Read(string text) {
        byte[] bytes = Encoding.UTF8.GetBytes(text);
        return ToValue(XElement.Load(JsonReaderWriterFactory.CreateJsonReader(bytes, XmlDictionaryReaderQuotas.Max)));
    }

    public static string Write(object value) {
        var values = value as IDictionary<string, object>;
        var text = value as string;
        var list = value as IEnumerable;
        if (value == null) return "null";
        if (text != null) return Quoted(text);
        if (values != null) return "{" + string.Join(",", values.Select(v => Quoted(v.Key) + ":" + Write(v.Value))) + "}";
        if (list != null) return "[" + string.Join(",", list.Cast<object>().Select(Write)) + "]";
        if (value is bool) return (bool)value ? "true" : "false";
        return Convert.ToString(value, CultureInfo.InvariantCulture);
    }

    // A name that is no name in XML stands in the attribute "item".
    private static object ToValue(XElement element) {
        switch ((string)element.Attribute("type")) {
            case "object": return element.Elements().ToDictionary(
                e => (string)e.Attribute("item") ?? e.Name.LocalName, ToValue);
            case "array": return element.Elements().Select(ToValue).ToList();
            case "number": return decimal.Parse(element.Value, NumberStyles.Float, CultureInfo.InvariantCulture);
            case "boolean": return element.Value == "true";
            case "null": return null;
            default: return element.Value;
        }
    }

    private static string Quoted(string text) {
        var quoted = new StringBuilder("\"");
        foreach (char letter in text) {
            if (letter == '"' || letter == '\\') quoted.Append('\\').Append(letter);
            else if (letter < ' ') quoted.AppendFormat("\\u{0:x4}", (int)letter);
            else quoted.Append(letter);
        }
        return quoted.Append('"').ToString();
    }
}

internal static class Program {
    private static int Main(string[] words) {
        if (words.Length % 2 == 0 || words.Last().StartsWith("--")) {
            Console.Error.WriteLine("usage: scanworker [--source NAME] [--SETTING VALUE]... FILE");
            return 2;
        }
        var order = new Values { { "output", words.Last() } };
        for (int i = 0; i + 1 < words.Length; i += 2)
            order[words[i].TrimStart('-')] = words[i + 1];
        object source;
        if (order.TryGetValue("source", out source)) order.Remove("source");
        try {
            using (var worker = new ScanWorker()) {
                worker.Open(source);
                worker.Scan(order, page => Console.WriteLine("{0}  {1} x {2} pixels, {3} bit", page["file"], page["width"],
                                                             page["height"], page["bitsPerPixel"]));
            }
            return 0;
        } catch (ScanException error) {
            Console.Error.WriteLine(error.Message);
            return error.Code > 0 ? error.Code : 2;
        } catch (WorkerGoneException error) {
            Console.Error.WriteLine(error.Message);
            return 1;
        }
    }
}
