using System;
using System.Threading;
using System.Threading.Tasks;
using UnityEngine;

namespace Bx.Unity {
    /// <summary>What a lane is doing.</summary>
    public enum LaneStatus {
        /// <summary>Nothing; it has no port, or is not enabled.</summary>
        Off,
        /// <summary>It is being connected: 3 s and more.</summary>
        Connecting,
        /// <summary>Shots and measurements come.</summary>
        Streaming,
        /// <summary>It could not be connected, or was lost; <see cref="BxLane.Reason"/> tells why.</summary>
        Lost
    }

    /// <summary>
    /// One lane. While it is enabled it connects the device at its port, starts training, and takes in each Update what
    /// has come; its events are raised on the main thread. When the device is lost, it comes back as soon as it can.
    /// Disabled, it stops the training, which takes no time of the main thread.
    /// </summary>
    [AddComponentMenu("BX/Lane")]
    public sealed class BxLane : MonoBehaviour {
        /// <summary>The serial port: /dev/ttyUSB0, COM3.</summary>
        public string Port = "";

        /// <summary>The session settings, a JSON object.</summary>
        [TextArea] public string Session = "{\"isInFieldMode\": true}";

        /// <summary>The ring target to send to the device, a JSON object; none when it is empty.</summary>
        [TextArea] public string RingTarget = "";

        /// <summary>So many seconds after a failure it is tried again; 0: never.</summary>
        public float RetrySeconds = 5;

        /// <summary>A shot has come.</summary>
        public event Action<Record> Shot;
        /// <summary>A sample of where the weapon points has come.</summary>
        public event Action<Record> Measurement;
        /// <summary>Training has started.</summary>
        public event Action Connected;
        /// <summary>It could not be connected, or was lost, for this reason. What had come was told before.</summary>
        public event Action<string> Lost;

        /// <summary>What the lane is doing.</summary>
        public LaneStatus Status { get; private set; }
        /// <summary>Why it was lost the last time; empty when it was not.</summary>
        public string Reason { get; private set; }
        /// <summary>What its device was doing, and what was counted, when records were last taken.</summary>
        public DeviceState State { get; private set; }

        private readonly Record[] records = new Record[64];
        private int taken, told;
        private string port;
        private Manager manager;
        private CancellationTokenSource ending;
        private Task opening;
        private Task closing = Task.CompletedTask;
        private float retryAt, streamedAt;

        // That the line is lost is known a moment after the stream's end.
        private const float EndSeconds = 0.5f;

        // Without a reload of the domain, what an earlier play mode has left runs on: also when its scene did not end
        // well.
        [RuntimeInitializeOnLoadMethod(RuntimeInitializeLoadType.SubsystemRegistration)]
        internal static void EndEarlierPlay() {
            Lifetime.Shutdown();
        }

        internal void OnEnable() {
            Status = LaneStatus.Off;
            Reason = "";
            State = default(DeviceState);
            taken = told = 0;
        }

        internal void Update() {
            switch (Status) {
                case LaneStatus.Off:
                    if (!string.IsNullOrEmpty(Port)) Open();
                    break;
                case LaneStatus.Connecting:
                    if (opening.IsCompleted) FinishOpening();
                    break;
                case LaneStatus.Streaming:
                    Poll();
                    break;
                case LaneStatus.Lost:
                    if (RetrySeconds > 0 && Time.unscaledTime >= retryAt) Open();
                    break;
            }
        }

        internal void OnDisable() {
            if (manager != null) closing = CloseAsync(manager, port, opening, ending);
            manager = null;
            Status = LaneStatus.Off;
        }

        private void Open() {
            port = Port;
            State = default(DeviceState);
            try {
                manager = new Manager();
            } catch (Exception failure) {
                var isMissing = failure is DllNotFoundException;
                Fail(isMissing ? "the native library BX_DEVICE cannot be loaded" : ReasonOf(failure));
                return;
            }
            ending = new CancellationTokenSource();
            opening = OpenAsync(closing, manager, port, Session, RingTarget, ending.Token);
            Status = LaneStatus.Connecting;
        }

        // The port may still be in use by the one before.
        private static async Task OpenAsync(Task before, Manager manager, string port, string session, string target,
                                            CancellationToken token) {
            await before.ConfigureAwait(false);
            await manager.AddAsync(port).ConfigureAwait(false);
            await manager.ConnectAsync(port, token).ConfigureAwait(false);
            await manager.SetSessionAsync(port, session).ConfigureAwait(false);
            if (!string.IsNullOrEmpty(target))
                await manager.UploadTargetAsync(port, "RING", target, token).ConfigureAwait(false);
            await manager.StartTrainingAsync(port, token).ConfigureAwait(false);
        }

        private void FinishOpening() {
            if (opening.Status != TaskStatus.RanToCompletion) {
                Fail(opening.Exception == null ? "cancelled" : ReasonOf(opening.Exception.GetBaseException()));
                return;
            }
            Status = LaneStatus.Streaming;
            streamedAt = Time.unscaledTime;
            if (Connected != null) Connected();
        }

        // A handler that throws ends an Update, and loses no record; one that disables the lane ends it, too.
        private void Poll() {
            try {
                while (manager != null) {
                    while (told < taken) Tell(records[told++]);
                    if (manager == null) return;
                    State = manager.GetState(port);
                    told = 0;
                    taken = manager.TakeRecords(port, records);
                    if (taken == 0) break;
                }
            } catch (BxException lost) {
                Fail(lost.Reason);
                return;
            } catch (ObjectDisposedException) {
                Fail("the library was shut down");
                return;
            }
            if (State.Has(DeviceFlags.Streaming)) streamedAt = Time.unscaledTime;
            else if (manager != null && Time.unscaledTime - streamedAt > EndSeconds) Fail("the stream has ended");
        }

        private void Tell(Record record) {
            var handlers = record.Kind == RecordKind.Shot ? Shot : Measurement;
            if (record.Kind != RecordKind.Other && handlers != null) handlers(record);
        }

        private void Fail(string reason) {
            if (manager != null) manager.Dispose();
            manager = null;
            taken = told = 0;
            State = default(DeviceState);
            Reason = reason;
            Status = LaneStatus.Lost;
            retryAt = Time.unscaledTime + RetrySeconds;
            if (Lost != null) Lost(reason);
        }

        private static string ReasonOf(Exception failure) {
            var told = failure as BxException;
            return told != null ? told.Reason : failure.Message;
        }

        // Whatever fails now, the port is closed in the end.
        private static async Task CloseAsync(Manager manager, string port, Task opening,
                                             CancellationTokenSource ending) {
            try {
                ending.Cancel();
                await opening.ConfigureAwait(false);
                await manager.StopTrainingAsync(port).ConfigureAwait(false);
            } catch (Exception) {
                // nothing of it is of use any more
            } finally {
                manager.Dispose();
                ending.Dispose();
            }
        }
    }
}
