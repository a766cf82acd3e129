using System;

namespace Bx {
    /// <summary>
    /// The native library as a whole. Before the process ends, or the domain that has loaded this assembly is unloaded,
    /// as an engine's editor does whenever scripts have changed, everything native is ended: a thread that was left
    /// inside would hold the unloading up. Calls that are begun meanwhile throw <see
    /// cref="AppDomainUnloadedException"/>.
    /// </summary>
    public static class Lifetime {
        private static readonly object Gate = new object();
        private const int UnloadMilliseconds = 1000;

        internal static volatile bool IsUnloading;

        static Lifetime() {
            AppDomain.CurrentDomain.DomainUnload += EndForGood;
            AppDomain.CurrentDomain.ProcessExit += EndForGood;
        }

        /// <summary>Of the native library: major * 10000 + minor * 100 + patch.</summary>
        public static int Version {
            get { return (int)Native.bx_version(); }
        }

        /// <summary>
        /// Ends all calls, disposes of all managers of the process, closes all ports, in less than 100 ms; nothing is
        /// sent. Returns once no thread is inside the library. Managers can be created again.
        /// </summary>
        public static void Shutdown() {
            try {
                Native.bx_shutdown();
            } catch (DllNotFoundException) {
                // then nothing runs that could be ended
            }
        }

        /// <summary>Bits a second (115200 unless told otherwise) on the ports that are opened from now on.</summary>
        public static void SetBaud(int baud) {
            Native.Check(Native.bx_set_baud((uint)Math.Max(baud, 0)), null);
        }

        /// <summary>
        /// Writes every frame of the ports that are opened from now on to a file, which is replaced; null ends that.
        /// </summary>
        public static void SetTraceFile(string path) {
            Native.Check(Native.bx_set_trace_file(path == null ? null : Native.Bytes(path, "path")), path);
        }

        /// <summary>
        /// The serial ports of this machine: a JSON array of objects with "port" and, as far as they are known,
        /// "stableName", "manufacturer", "product" and "serialNumber". Opens none.
        /// </summary>
        public static string ListPorts() {
            IntPtr json;
            Native.Check(Native.bx_list_ports(out json), null);
            return Native.Take(json);
        }

        /// <summary>The value of a hit; <paramref name="target"/> is a target document. Waits for nothing.</summary>
        public static HitValue Score(string target, double x, double y, Gauge gauge) {
            HitValue value;
            Native.Check(Native.bx_score(Native.Bytes(target, "target"), x, y, (int)gauge, out value), null);
            return value;
        }

        internal static ManagerHandle CreateManager() {
            lock (Gate) {
                if (IsUnloading) throw new AppDomainUnloadedException();
                return new ManagerHandle();
            }
        }

        private static void EndForGood(object sender, EventArgs none) {
            lock (Gate) IsUnloading = true;
            Shutdown();
            Calls.AwaitEnd(UnloadMilliseconds);
        }
    }
}
