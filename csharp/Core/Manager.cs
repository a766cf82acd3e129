using System;
using System.Collections.Concurrent;
using System.Threading;
using System.Threading.Tasks;

namespace Bx {
    /// <summary>
    /// Some devices, one for each serial port. Documents are JSON texts; docs/documents.md of the library tables their
    /// keys and units.
    /// <para>
    /// What talks to a device is asynchronous and runs on a thread of its own, as long as its exchanges take: 1.3 s
    /// each when nothing acknowledges, and else 2 s after the device's last sign; mostly the first failure ends it. A
    /// token ends it within 250 ms, and leaves the device connected and usable. <see cref="TakeRecords(string,
    /// Record[])"/> and <see cref="GetState"/> wait for nothing and allocate nothing: call them once a frame. Nothing
    /// is called back.
    /// </para>
    /// <para>
    /// Everything may be called from any thread at any time. Operations on one port take turns, those on different
    /// ports run at the same time. What fails throws <see cref="BxException"/>.
    /// </para>
    /// </summary>
    public sealed class Manager : IDisposable {
        private readonly ManagerHandle handle;
        private readonly ConcurrentDictionary<string, byte[]> names = new ConcurrentDictionary<string, byte[]>();

        /// <summary>A manager without devices.</summary>
        public Manager() {
            handle = Lifetime.CreateManager();
        }

        /// <summary>
        /// Cancels what runs, and closes all ports, in less than 100 ms; nothing is sent. Streams are not stopped: a
        /// device goes on until its host was silent for a minute.
        /// </summary>
        public void Dispose() {
            handle.Destroy();
        }

        /// <summary>
        /// Registers a device that is not connected: 0.5 s, or a second when the port's last device was removed by a
        /// failure.
        /// </summary>
        public Task AddAsync(string port) {
            var name = Name(port);
            return Calls.Run(port, CancellationToken.None, _ => Native.bx_add(handle, name));
        }

        /// <summary>
        /// Opens the port and connects the device: 2.5 s and up to 21 exchanges. When it fails, or is cancelled when it
        /// has begun, the device is removed and must be added again. Gives an object with the device's settings under
        /// the port's name. Nothing is sent to a device that is connected already.
        /// </summary>
        public Task<string> ConnectAsync(string port, CancellationToken token = default(CancellationToken)) {
            return ConnectAsync(port, false, token);
        }

        /// <summary>The same; for a device that is awake the start-up may be left out, which saves 2 s.</summary>
        public Task<string> ConnectAsync(string port, bool skipStartup,
                                         CancellationToken token = default(CancellationToken)) {
            return Connect(port, Name(port), skipStartup, token);
        }

        /// <summary>
        /// All registered ports at once, in the time of the slowest one. Fails with the first failure by the ports'
        /// names; <see cref="BxException.Settings"/> then has those that are connected.
        /// </summary>
        public Task<string> ConnectAllAsync(bool skipStartup = false,
                                            CancellationToken token = default(CancellationToken)) {
            return Connect(null, null, skipStartup, token);
        }

        /// <summary>
        /// Closes the port, which ends what runs on it, and removes the device; nothing is sent. 0.5 s.
        /// </summary>
        public Task DisconnectAsync(string port) {
            var name = Name(port);
            return Calls.Run(port, CancellationToken.None, _ => Native.bx_disconnect(handle, name));
        }

        /// <summary>The same for all registered ports at once.</summary>
        public Task DisconnectAllAsync() {
            return Calls.Run(null, CancellationToken.None, _ => Native.bx_disconnect(handle, null));
        }

        /// <summary>
        /// The device settings, as they were written, or read when the device was connected: 11 exchanges. What the
        /// device has made of those that were written, the next connection tells.
        /// </summary>
        public Task<string> GetSettingsAsync(string port, CancellationToken token = default(CancellationToken)) {
            var name = Name(port);
            return Calls.Run(port, token, (IntPtr cancel, out IntPtr json) =>
                Native.bx_get_settings(handle, name, cancel, out json));
        }

        /// <summary>Writes device settings, and with them the session settings: 6 exchanges.</summary>
        public Task SetSettingsAsync(string port, string json, CancellationToken token = default(CancellationToken)) {
            byte[] name = Name(port), text = Native.Bytes(json, "json");
            return Calls.Run(port, token, cancel => Native.bx_set_settings(handle, name, text, cancel));
        }

        /// <summary>
        /// Keeps session settings, for the next <see cref="SetSettingsAsync"/> and <see cref="StartTrainingAsync"/>;
        /// sends nothing.
        /// </summary>
        public Task SetSessionAsync(string port, string json) {
            byte[] name = Name(port), text = Native.Bytes(json, "json");
            return Calls.Run(port, CancellationToken.None, _ => Native.bx_set_session(handle, name, text));
        }

        /// <summary>Commands a mode, 1 to 255, that the others do not command by themselves: 1 exchange.</summary>
        public Task SetModeAsync(string port, int mode, CancellationToken token = default(CancellationToken)) {
            var name = Name(port);
            return Calls.Run(port, token, cancel => Native.bx_set_mode(handle, name, mode, cancel));
        }

        /// <summary>
        /// Forgets the device's records and starts the stream: 1 exchange. A line that is lost as soon as it streams is
        /// told by <see cref="TakeRecords(string, Record[])"/>.
        /// </summary>
        public Task StartTrainingAsync(string port, CancellationToken token = default(CancellationToken)) {
            var name = Name(port);
            return Calls.Run(port, token, cancel => Native.bx_start_training(handle, name, cancel));
        }

        /// <summary>
        /// Ends the stream, when one runs; the device's last records wait to be taken then. 1 exchange.
        /// </summary>
        public Task StopTrainingAsync(string port, CancellationToken token = default(CancellationToken)) {
            var name = Name(port);
            return Calls.Run(port, token, cancel => Native.bx_stop_training(handle, name, cancel));
        }

        /// <summary>The same for all registered ports at once.</summary>
        public Task StopAllTrainingAsync(CancellationToken token = default(CancellationToken)) {
            return Calls.Run(null, token, cancel => Native.bx_stop_training(handle, null, cancel));
        }

        /// <summary>
        /// Sends a target, of <paramref name="type"/> "RING" or "SILHOUETTE", and puts it in use: 6 exchanges, or up to
        /// 68 for a silhouette. Not while the device streams.
        /// </summary>
        public Task UploadTargetAsync(string port, string type, string json,
                                      CancellationToken token = default(CancellationToken)) {
            byte[] name = Name(port), kind = Native.Bytes(type, "type"), text = Native.Bytes(json, "json");
            return Calls.Run(port, token, cancel => Native.bx_upload_target(handle, name, kind, text, cancel));
        }

        /// <summary>Fetches the device's target of a number, 0 to 254, in as many exchanges.</summary>
        public Task<string> DownloadTargetAsync(string port, string type, int number,
                                                CancellationToken token = default(CancellationToken)) {
            byte[] name = Name(port), kind = Native.Bytes(type, "type");
            return Calls.Run(port, token, (IntPtr cancel, out IntPtr json) =>
                Native.bx_download_target(handle, name, kind, number, cancel, out json));
        }

        /// <summary>
        /// Tells which target the device has in use, when it was not uploaded just before; 255 for none. Shots are
        /// decoded with it. Sends nothing.
        /// </summary>
        public Task UseTargetAsync(string port, string type, int number) {
            byte[] name = Name(port), kind = Native.Bytes(type, "type");
            return Calls.Run(port, CancellationToken.None, _ => Native.bx_use_target(handle, name, kind, number));
        }

        /// <summary>An array of the targets that were uploaded or downloaded. Sends nothing.</summary>
        public Task<string> GetTargetsAsync(string port) {
            var name = Name(port);
            return Calls.Run(port, CancellationToken.None, (IntPtr _, out IntPtr json) =>
                Native.bx_get_targets(handle, name, out json));
        }

        /// <summary>Forgets these; sends nothing.</summary>
        public Task ClearTargetsAsync(string port) {
            var name = Name(port);
            return Calls.Run(port, CancellationToken.None, _ => Native.bx_clear_targets(handle, name));
        }

        /// <summary>
        /// Fetches the stored session: its records replace those that wait to be taken. An exchange for each page, and
        /// more; <paramref name="progress"/> is told ten times a second, and at the end, how many pages are done. Not
        /// while the device streams.
        /// </summary>
        public Task DownloadSessionAsync(string port, IProgress<DeviceState> progress = null,
                                         CancellationToken token = default(CancellationToken)) {
            var name = Name(port);
            Calls.Body download = (IntPtr cancel, out IntPtr json) => {
                json = IntPtr.Zero;
                return Native.bx_download_session(handle, name, cancel);
            };
            if (progress != null) download = Calls.Reporting(() => progress.Report(GetState(port)), download);
            return Calls.Run(port, token, download);
        }

        /// <summary>Clears the stored session on the device: 9 exchanges.</summary>
        public Task ClearSessionAsync(string port, CancellationToken token = default(CancellationToken)) {
            var name = Name(port);
            return Calls.Run(port, token, cancel => Native.bx_clear_session(handle, name, cancel));
        }

        /// <summary>
        /// Takes the first records that wait, as many as fit, in their order; the others wait on. Gives how many.
        /// Records outlive the end of a stream and a hang-up; after the last one a hang-up is thrown once, as <see
        /// cref="BxStatus.Link"/>, and then the port is <see cref="BxStatus.NoDevice"/> until it is added anew.
        /// </summary>
        public int TakeRecords(string port, Record[] records) {
            UIntPtr count;
            if (records == null) throw new ArgumentNullException("records");
            Native.Check(Native.bx_take_records(handle, Name(port), records, (UIntPtr)records.Length, out count,
                                                IntPtr.Zero), port);
            return (int)count;
        }

        /// <summary>The same, and each record's document; as many as fit into the shorter array.</summary>
        public int TakeRecords(string port, Record[] records, string[] documents) {
            UIntPtr taken;
            IntPtr json;
            if (records == null) throw new ArgumentNullException("records");
            if (documents == null) throw new ArgumentNullException("documents");
            var capacity = Math.Min(records.Length, documents.Length);
            Native.Check(Native.bx_take_records(handle, Name(port), records, (UIntPtr)capacity, out taken, out json),
                         port);
            var count = (int)taken;
            for (var i = 0; i < count; ++i)
                documents[i] = Native.Text(json, (int)records[i].JsonOffset, (int)records[i].JsonLength);
            Native.bx_free(json);
            return count;
        }

        /// <summary>What a device is doing, and what was counted.</summary>
        public DeviceState GetState(string port) {
            DeviceState state;
            Native.Check(Native.bx_get_state(handle, Name(port), out state), port);
            return state;
        }

        private Task<string> Connect(string port, byte[] name, bool skipStartup, CancellationToken token) {
            return Calls.Run(port, token, (IntPtr cancel, out IntPtr settings) =>
                Native.bx_connect(handle, name, skipStartup ? 1u : 0u, cancel, out settings));
        }

        // A port's name as it crosses the border is made once, so that a frame costs no garbage.
        private byte[] Name(string port) {
            byte[] name;
            if (port == null) throw new ArgumentNullException("port");
            if (names.TryGetValue(port, out name)) return name;
            return names.GetOrAdd(port, Native.Bytes(port, "port"));
        }
    }
}
