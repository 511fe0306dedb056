// A first session with a controller, in C#: FirstSession.exe HOST PORT
//
// It declares of libkyt_host what it uses, as kyt_host_c.h has it: an output list is an array, its capacity and a count,
// an output text a StringBuilder, a record a struct with arrays of fixed size.

using System;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;

static class Kyt
{
    public const int Success = 0;
    const string Library = "kyt_host";

    [StructLayout(LayoutKind.Sequential)]
    public struct MoveCmd
    {
        public int targetPosType;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 64)] public double[] targetPosValue;
        public int targetPosValue_count;
        [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 256)] public string targetPosName;
        public int coord;
        public double velocity, velocitySync, acc, dec;
        public int pl, time, toolNum, userNum, posidtype, configuration, spin, parasync;
    }

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void MessageCallback(int socketFd, int kind, string text, int code, IntPtr userData);

    [DllImport(Library)] public static extern int connect_robot_c(string ip, string port);
    [DllImport(Library)] public static extern int disconnect_robot_c(int socketFd);
    [DllImport(Library)] public static extern int wait_for_callbacks_c(int socketFd, int timeoutMs);
    [DllImport(Library)] public static extern int set_message_callback_c(int socketFd, MessageCallback callback, IntPtr userData);
    [DllImport(Library)] public static extern int get_controller_id_csharp_c(int socketFd, StringBuilder id, int size, out int needed);
    [DllImport(Library)] public static extern int set_servo_poweron_c(int socketFd);
    [DllImport(Library)] public static extern int set_servo_poweroff_c(int socketFd);
    [DllImport(Library)] public static extern int set_speed_c(int socketFd, int speed);
    [DllImport(Library)] public static extern int get_speed_c(int socketFd, ref int speed);
    [DllImport(Library)] public static extern int get_current_position_c(int socketFd, int coord, [Out] double[] pos, int capacity, out int count);
    [DllImport(Library)] public static extern void MoveCmd_c_init(out MoveCmd record);
    [DllImport(Library)] public static extern int robot_movej_c(int socketFd, ref MoveCmd cmd);
}

static class FirstSession
{
    static void Expect(bool succeeded, string what)
    {
        if (succeeded) return;
        Console.Error.WriteLine("failed: " + what);
        Environment.Exit(1);
    }

    static void Move(int robot, double first)
    {
        Kyt.MoveCmd target;
        Kyt.MoveCmd_c_init(out target);
        target.targetPosValue[0] = first;
        target.targetPosValue_count = 7;
        target.velocity = target.acc = target.dec = 100;
        Expect(Kyt.robot_movej_c(robot, ref target) == Kyt.Success, "moving");
        var joints = new double[7];
        for (int polls = 0; ; ++polls)
        {
            int count;
            Expect(Kyt.get_current_position_c(robot, 0, joints, joints.Length, out count) == Kyt.Success, "reading the position");
            if (Math.Abs(joints[0] - first) < 0.01) break;
            Expect(polls < 1000, "arriving");
            Thread.Sleep(20);
        }
        Console.WriteLine("joint 1 has arrived at {0:F1} degrees", joints[0]);
    }

    static int Main(string[] arguments)
    {
        if (arguments.Length != 2)
        {
            Console.Error.WriteLine("usage: FirstSession.exe HOST PORT");
            return 1;
        }
        int robot = Kyt.connect_robot_c(arguments[0], arguments[1]);
        Expect(robot > 0, "connecting");
        // Kept in a variable: the library knows nothing of the garbage collector.
        Kyt.MessageCallback onMessage = (fd, kind, text, code, none) =>
            Console.WriteLine("message on handle {0}: kind {1}, code {2}: {3}", fd, kind, code, text);
        Expect(Kyt.set_message_callback_c(robot, onMessage, IntPtr.Zero) == Kyt.Success, "installing the callback");

        int needed, speed = 0;
        var id = new StringBuilder(64);
        Expect(Kyt.get_controller_id_csharp_c(robot, id, id.Capacity, out needed) == Kyt.Success, "reading the identity");
        Expect(Kyt.set_servo_poweron_c(robot) == Kyt.Success, "servo power on");
        Expect(Kyt.set_speed_c(robot, 100) == Kyt.Success && Kyt.get_speed_c(robot, ref speed) == Kyt.Success, "setting the speed");
        Console.WriteLine("connected to {0}, servo power on, speed {1} %", id, speed);
        Move(robot, 20);
        Move(robot, 0);
        Expect(Kyt.set_servo_poweroff_c(robot) == Kyt.Success, "servo power off");
        Kyt.wait_for_callbacks_c(robot, 1000);
        Kyt.disconnect_robot_c(robot);
        GC.KeepAlive(onMessage);
        Console.WriteLine("disconnected");
        return 0;
    }
}
