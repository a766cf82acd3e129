using System;
using System.Runtime.InteropServices;
using System.Text;

namespace Bx {
    /// <summary>
    /// The functions of bx_c.h. Texts go in as bytes with a zero at the end, since the runtimes do not agree on how
    /// they marshal strings; structures and arrays are blittable, so that nothing is copied. Nothing is called back.
    /// </summary>
    internal static class Native {
        internal const uint Version = 100;

        private const string Name = "BX_DEVICE";
        private const CallingConvention Convention = CallingConvention.Cdecl;
        private static readonly Encoding Utf8 = new UTF8Encoding(false, true);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern uint bx_version();

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern IntPtr bx_last_error();

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern void bx_free(IntPtr given);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_create(uint version, out IntPtr m);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_destroy(IntPtr m);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_shutdown();

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_cancel_create(out IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_cancel_signal(IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_cancel_destroy(IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_set_baud(uint baud);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_set_trace_file(byte[] path);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_list_ports(out IntPtr json);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_score(byte[] target, double x, double y, int gauge, out HitValue value);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_add(ManagerHandle m, byte[] port);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_connect(ManagerHandle m, byte[] port, uint skipStartup, IntPtr c,
                                              out IntPtr settings);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_disconnect(ManagerHandle m, byte[] port);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_get_settings(ManagerHandle m, byte[] port, IntPtr c, out IntPtr json);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_set_settings(ManagerHandle m, byte[] port, byte[] json, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_set_session(ManagerHandle m, byte[] port, byte[] json);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_set_mode(ManagerHandle m, byte[] port, int mode, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_start_training(ManagerHandle m, byte[] port, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_stop_training(ManagerHandle m, byte[] port, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_upload_target(ManagerHandle m, byte[] port, byte[] type, byte[] json, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_download_target(ManagerHandle m, byte[] port, byte[] type, int n, IntPtr c,
                                                      out IntPtr json);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_use_target(ManagerHandle m, byte[] port, byte[] type, int n);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_get_targets(ManagerHandle m, byte[] port, out IntPtr json);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_clear_targets(ManagerHandle m, byte[] port);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_download_session(ManagerHandle m, byte[] port, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_clear_session(ManagerHandle m, byte[] port, IntPtr c);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_take_records(ManagerHandle m, byte[] port, [Out] Record[] records,
                                                   UIntPtr capacity, out UIntPtr count, IntPtr noJson);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_take_records(ManagerHandle m, byte[] port, [Out] Record[] records,
                                                   UIntPtr capacity, out UIntPtr count, out IntPtr json);

        [DllImport(Name, CallingConvention = Convention)]
        internal static extern int bx_get_state(ManagerHandle m, byte[] port, out DeviceState state);

        /// <summary>UTF-8 with a zero at the end. A zero within would cut the text without a word.</summary>
        internal static byte[] Bytes(string text, string parameter) {
            if (text == null) throw new ArgumentNullException(parameter);
            if (text.IndexOf('\0') >= 0) throw new ArgumentException("a text with a zero character", parameter);
            var bytes = new byte[Utf8.GetByteCount(text) + 1];
            Utf8.GetBytes(text, 0, text.Length, bytes, 0);
            return bytes;
        }

        internal static string Text(IntPtr text) {
            if (text == IntPtr.Zero) return null;
            var length = 0;
            while (Marshal.ReadByte(text, length) != 0) ++length;
            return Text(text, 0, length);
        }

        internal static string Text(IntPtr text, int offset, int length) {
            var bytes = new byte[length];
            Marshal.Copy(IntPtr.Add(text, offset), bytes, 0, length);
            return Encoding.UTF8.GetString(bytes);
        }

        /// <summary>The text, which the library has given, and frees.</summary>
        internal static string Take(IntPtr given) {
            try {
                return Text(given);
            } finally {
                bx_free(given);
            }
        }

        /// <summary>Throws what a status below zero stands for: on the thread that has made the call.</summary>
        internal static void Check(int status, string port, string settings = null) {
            if (status >= 0) return;
            var told = Text(bx_last_error());
            switch ((BxStatus)status) {
                case BxStatus.Cancelled:
                    throw new OperationCanceledException(told);
                case BxStatus.Handle:
                    throw new ObjectDisposedException("Bx.Manager", told);
                default:
                    throw new BxException((BxStatus)status, port, told, settings);
            }
        }
    }

    /// <summary>
    /// A manager's key. Keys are never given twice, so a second destruction, on whatever thread and whenever the
    /// finaliser runs, does no harm.
    /// </summary>
    internal sealed class ManagerHandle : SafeHandle {
        internal ManagerHandle() : base(IntPtr.Zero, true) {
            IntPtr key;
            Native.Check(Native.bx_create(Native.Version, out key), null);
            SetHandle(key);
        }

        public override bool IsInvalid {
            get { return handle == IntPtr.Zero; }
        }

        /// <summary>
        /// Ends the calls under way, too: each of them holds a reference, for whose end a SafeHandle alone would wait.
        /// </summary>
        internal void Destroy() {
            if (IsClosed) return;
            Native.bx_destroy(handle);
            Dispose();
        }

        protected override bool ReleaseHandle() {
            Native.bx_destroy(handle);
            return true;
        }
    }
}
