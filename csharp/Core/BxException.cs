using System;

namespace Bx {
    /// <summary>
    /// Why a call has failed. Two kinds are exceptions of the system's: see <see cref="BxException"/>.
    /// </summary>
    public enum BxStatus {
        /// <summary>It has not.</summary>
        Ok = 0,
        /// <summary>A value that is none of those that are told; also: the port is registered already.</summary>
        Argument = -1,
        /// <summary>The manager was disposed of. Thrown as <see cref="ObjectDisposedException"/>.</summary>
        Handle = -2,
        /// <summary>The native library is older than this assembly, or of another major version.</summary>
        Version = -3,
        /// <summary>None is registered under this port; <see cref="Manager.AddAsync"/> registers one.</summary>
        NoDevice = -4,
        /// <summary>The port, or a file, cannot be opened.</summary>
        Open = -5,
        /// <summary>
        /// The device does not answer, answers what it should not, or is gone; or the port is closed.
        /// </summary>
        Link = -6,
        /// <summary>Refused by the device.</summary>
        Refused = -7,
        /// <summary>Thrown as <see cref="OperationCanceledException"/>.</summary>
        Cancelled = -8,
        /// <summary>A text that is no JSON object.</summary>
        Json = -9,
        /// <summary>No memory.</summary>
        Memory = -10,
        /// <summary>A fault of the library.</summary>
        Internal = -11
    }

    /// <summary>
    /// A call has failed. What was cancelled, by its token, by <see cref="Manager.Dispose"/> or by
    /// <see cref="Lifetime.Shutdown"/>, is an <see cref="OperationCanceledException"/> instead; a manager that is no
    /// more, an <see cref="ObjectDisposedException"/>. The message is one line: "/dev/ttyUSB0: no such port".
    /// </summary>
    public class BxException : Exception {
        /// <summary>The kind of the failure.</summary>
        public BxStatus Status { get; private set; }

        /// <summary>The port that was called for; null when that was none, or all.</summary>
        public string Port { get; private set; }

        /// <summary>The message, without the port that it begins with.</summary>
        public string Reason { get; private set; }

        /// <summary>
        /// Of <see cref="Manager.ConnectAllAsync"/>: the settings of those that are connected all the same, as it gives
        /// them; otherwise null.
        /// </summary>
        public string Settings { get; private set; }

        /// <summary>A failure; the message begins with the port.</summary>
        public BxException(BxStatus status, string port, string message, string settings) : base(message) {
            Status = status;
            Port = port;
            Settings = settings;
            Reason = message;
            if (port != null && message.StartsWith(port + ": ", StringComparison.Ordinal))
                Reason = message.Substring(port.Length + 2);
        }
    }
}
