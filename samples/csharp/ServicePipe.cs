// A connection to one of the service's two pipes. Windows only; never run with real pipes yet.
using System;
using System.ComponentModel;
using System.IO;
using System.IO.Pipes;
using System.Runtime.InteropServices;
using System.Security.Principal;
using System.Threading;
using Microsoft.Win32.SafeHandles;

namespace Orva.Samples
{
    // One thread at a time.
    public sealed class ServicePipe : IDisposable
    {
        public const string Requests = "OrvaAccelerator_Request";
        public const string Push = "OrvaAccelerator_Push";

        private readonly NamedPipeClientStream stream;

        // Connects, trying again until the time is over: between two instances of its pipe the service
        // is away for a moment, and any program can make an instance beside the service's.
        public ServicePipe(string name, TimeSpan timeout)
        {
            DateTime end = DateTime.UtcNow + timeout;
            for (;;)
            {
                // Anonymous: the service may not act in this program's name.
                stream = new NamedPipeClientStream(".", name, PipeDirection.InOut,
                    PipeOptions.Asynchronous, TokenImpersonationLevel.Anonymous);
                try
                {
                    uint service = ServiceProcess();
                    TimeSpan left = end - DateTime.UtcNow;
                    stream.Connect(Math.Max(0, (int)left.TotalMilliseconds));
                    if (IsServedBy(service))
                    {
                        stream.ReadMode = PipeTransmissionMode.Message;
                        return;
                    }
                    if (DateTime.UtcNow >= end)
                        throw new UnauthorizedAccessException(
                            "another program serves the pipe and is not the service");
                }
                catch
                {
                    stream.Dispose();
                    throw;
                }
                stream.Dispose();
                Thread.Sleep(10);
            }
        }

        public void Dispose()
        {
            stream.Dispose();
        }

        public void Write(byte[] message, TimeSpan timeout)
        {
            InTime(timeout, cancel => stream.WriteAsync(message, 0, message.Length, cancel));
        }

        // The next message, whole.
        public byte[] Read(TimeSpan timeout)
        {
            byte[] buffer = new byte[65536];
            MemoryStream message = new MemoryStream();
            do
            {
                int count = 0;
                InTime(timeout, async cancel =>
                    count = await stream.ReadAsync(buffer, 0, buffer.Length, cancel));
                if (count == 0) throw new EndOfStreamException("the service ended the connection");
                message.Write(buffer, 0, count);
            } while (!stream.IsMessageComplete);
            return message.ToArray();
        }

        private static void InTime(TimeSpan timeout,
                                   Func<CancellationToken, System.Threading.Tasks.Task> operation)
        {
            using (CancellationTokenSource cancel = new CancellationTokenSource(timeout))
            {
                try
                {
                    operation(cancel.Token).GetAwaiter().GetResult();
                }
                catch (OperationCanceledException)
                {
                    throw new TimeoutException("the service did not get there in time");
                }
            }
        }

        // Whether that process, which ran the service before the pipe was opened, still does and serves
        // the pipe. An instance keeps the process id of its maker after that has gone, so the id alone
        // could have been prepared; but no user's process is in session 0.
        private bool IsServedBy(uint service)
        {
            uint server, session;
            if (!GetNamedPipeServerProcessId(stream.SafePipeHandle, out server) ||
                !GetNamedPipeServerSessionId(stream.SafePipeHandle, out session))
                throw new Win32Exception();
            return server == service && session == 0 && ServiceProcess() == service;
        }

        // 0 when the service does not run.
        private static uint ServiceProcess()
        {
            const uint connect = 1;
            const uint queryStatus = 4;
            const int processInfo = 0;
            IntPtr manager = OpenSCManager(null, null, connect);
            if (manager == IntPtr.Zero) throw new Win32Exception();
            IntPtr service = IntPtr.Zero;
            try
            {
                service = OpenService(manager, "OrvaAcceleratorService", queryStatus);
                if (service == IntPtr.Zero) throw new Win32Exception();
                ServiceStatus status;
                uint needed;
                if (!QueryServiceStatusEx(service, processInfo, out status,
                        (uint)Marshal.SizeOf(typeof(ServiceStatus)), out needed))
                    throw new Win32Exception();
                return status.ProcessId;
            }
            finally
            {
                if (service != IntPtr.Zero) CloseServiceHandle(service);
                CloseServiceHandle(manager);
            }
        }

        [StructLayout(LayoutKind.Sequential)]
        private struct ServiceStatus
        {
            public uint Type, State, Controls, ExitCode, SpecificExitCode, CheckPoint, WaitHint;
            public uint ProcessId, Flags;
        }

        [DllImport("kernel32", SetLastError = true)]
        private static extern bool GetNamedPipeServerProcessId(SafePipeHandle pipe, out uint id);

        [DllImport("kernel32", SetLastError = true)]
        private static extern bool GetNamedPipeServerSessionId(SafePipeHandle pipe, out uint id);

        [DllImport("advapi32", CharSet = CharSet.Unicode, SetLastError = true)]
        private static extern IntPtr OpenSCManager(string machine, string database, uint access);

        [DllImport("advapi32", CharSet = CharSet.Unicode, SetLastError = true)]
        private static extern IntPtr OpenService(IntPtr manager, string name, uint access);

        [DllImport("advapi32", SetLastError = true)]
        private static extern bool QueryServiceStatusEx(IntPtr service, int level,
            out ServiceStatus status, uint size, out uint needed);

        [DllImport("advapi32", SetLastError = true)]
        private static extern bool CloseServiceHandle(IntPtr handle);
    }
}
