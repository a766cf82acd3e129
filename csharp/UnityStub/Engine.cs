// The classes of the engine that the Unity package uses, as far as it uses them: to compile it, and to run BxLane,
// where there is no engine. Nothing is drawn.
using System;

namespace UnityEngine {
    public enum RuntimeInitializeLoadType { SubsystemRegistration = 4 }

    public sealed class RuntimeInitializeOnLoadMethodAttribute : Attribute {
        public RuntimeInitializeOnLoadMethodAttribute(RuntimeInitializeLoadType type) {}
    }

    public sealed class AddComponentMenuAttribute : Attribute {
        public AddComponentMenuAttribute(string menu) {}
    }

    public sealed class TextAreaAttribute : Attribute {}

    public sealed class RequireComponentAttribute : Attribute {
        public RequireComponentAttribute(Type type) {}
    }

    public class MonoBehaviour {
        public GameObject gameObject { get; } = new GameObject();
        public T GetComponent<T>() where T : MonoBehaviour => null;
    }

    public class GameObject {
        public T AddComponent<T>() where T : MonoBehaviour, new() => new T();
    }

    // Tests set it; it does not run by itself.
    public static class Time {
        public static float unscaledTime { get; set; }
    }

    public static class Debug {
        public static void Log(object message) {}
        public static void LogWarning(object message) {}
    }

    public static class Mathf {
        public static float Min(float a, float b) => Math.Min(a, b);
        public static float Sqrt(float value) => (float)Math.Sqrt(value);
    }

    public static class Screen {
        public static int width => 800;
        public static int height => 600;
    }

    public struct Color {
        public static Color white, black, clear, cyan, yellow, red;
    }

    public struct Rect {
        public float x, y, width, height;

        public Rect(float x, float y, float width, float height) {
            this.x = x;
            this.y = y;
            this.width = width;
            this.height = height;
        }
    }

    public class Texture {}

    public class Texture2D : Texture {
        public Texture2D(int width, int height) {}
        public void SetPixels(Color[] colors) {}
        public void Apply() {}
    }

    public static class GUI {
        public static Color color { get; set; }
        public static void DrawTexture(Rect position, Texture image) {}
    }

    public class GUILayoutOption {}

    public static class GUILayout {
        public static void BeginArea(Rect area) {}
        public static void EndArea() {}
        public static string TextField(string text, params GUILayoutOption[] options) => text;
        public static bool Button(string text, params GUILayoutOption[] options) => false;
    }
}

namespace UnityEditor {
    public sealed class InitializeOnLoadAttribute : Attribute {}

    public static class AssemblyReloadEvents {
        public delegate void AssemblyReloadCallback();
        public static event AssemblyReloadCallback beforeAssemblyReload { add {} remove {} }
    }
}

namespace NUnit.Framework {
    public sealed class TestAttribute : Attribute {}

    public static class Assert {
        public delegate void TestDelegate();
        public static T Throws<T>(TestDelegate code) where T : Exception => null;
    }
}
